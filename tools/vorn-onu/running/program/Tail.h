// Shows a file on standard output as it grows.
#ifndef VORN_ONU_TAIL_H
#define VORN_ONU_TAIL_H

#include <string>

namespace vorn_onu {

class Tail {
public:
    explicit Tail(const std::string& path);  // of a file that is there
    ~Tail();
    Tail(const Tail&) = delete;
    Tail& operator=(const Tail&) = delete;

    void showNew();  // what has come since the last call

private:
    int reader_;
};

}  // namespace vorn_onu

#endif
