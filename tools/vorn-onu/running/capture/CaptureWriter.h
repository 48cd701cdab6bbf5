// Writes frames to a pcapng file one by one, an interface a port.
#ifndef VORN_ONU_CAPTURE_WRITER_H
#define VORN_ONU_CAPTURE_WRITER_H

#include <cstdint>
#include <fstream>
#include <string>
#include <unordered_map>
#include <vector>

namespace vorn_onu {

class CaptureWriter {
public:
    explicit CaptureWriter(const std::string& path);  // throws a FileProblem
    void add(const std::string& port, std::uint64_t timeMs, const std::vector<std::uint8_t>& frame);
    void finish();  // throws a FileProblem where not all could be written

private:
    std::string path_;
    std::ofstream file_;
    std::unordered_map<std::string, std::uint32_t> interfaces_;
    std::vector<std::uint8_t> blocks_;  // not yet written
};

}  // namespace vorn_onu

#endif
