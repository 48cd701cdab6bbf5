// Captures and texts of any bytes: messages, or a problem that names the file.
#include "Expect.h"
#include "living/MessageFile.h"
#include "running/io/Files.h"

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string bytes(reinterpret_cast<const char*>(data), size);
    try {
        const vorn_onu::MessageFile file = vorn_onu::readMessages(bytes, "file");
        FUZZ_EXPECT(!file.messages.empty() && !file.placeName.empty());
        for (const auto& message : file.messages) FUZZ_EXPECT(message.place > 0);
    } catch (const vorn_onu::FileProblem&) {
    }
    return 0;
}
