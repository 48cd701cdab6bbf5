#include "RecordingHal.h"

#include <tuple>

#include "Answers.h"
#include "hal/VornHal.h"

namespace recorder {

namespace {

template <typename Result, typename... Arguments>
Result resultOf(Result (VornHal::*)(Arguments...));

class RecordingHal : public VornHal {
public:
    explicit RecordingHal(VornHal& inner) : inner_(inner) {}
    ~RecordingHal() override { delete &inner_; }
    RecordingHal(const RecordingHal&) = delete;
    RecordingHal& operator=(const RecordingHal&) = delete;
    const VornHal& inner() const { return inner_; }

// The fields are kept until the very end: a daemon may call while the process ends.
#define OPERATION(slot, name, parameters, arguments, fields, changes, doc)                        \
    decltype(resultOf(&VornHal::name)) name parameters override {                                 \
        using namespace vorn_onu;                                                                 \
        static const auto& kind = *new auto(fields);                                              \
        return recorded(                                                                          \
            #name, kind, [&] { return inner_.name arguments; }, std::forward_as_tuple arguments); \
    }
#include "running/scenario/operations/Operations.def"

private:
    VornHal& inner_;
};

}  // namespace

VornHal* recordingHal(VornHal* hal) {
    static RecordingHal* one = nullptr;
    if (one == nullptr || &one->inner() != hal) one = new RecordingHal(*hal);
    return one;
}

}  // namespace recorder
