// The state file with any content. As bytes it has no right checksums, and nothing may come of it. With right checksums
// around any records the library may restore what they say, and settle and clean: but no text of them reaches a shell.
#include <fcntl.h>
#include <unistd.h>

#include <string>
#include <string_view>

#include "BRCM/BCM968580/DATA/restart/Restart.h"
#include "Fuzz.h"
#include "hal/FileText.h"
#include "state/Bytes.h"
#include "state/Checksum.h"
#include "state/Journal.h"

namespace {

std::string path() {
    static const std::string& name = *new std::string("/dev/shm/vorn-fuzz-" + std::to_string(getpid()) + ".state");
    return name;
}

std::string withChecksum(state::ByteWriter& bytes) {
    bytes.add(state::checksum(bytes.bytes()));
    return bytes.take();
}

std::string header() {
    std::string boot;
    readFileText("/proc/sys/kernel/random/boot_id", boot);
    state::ByteWriter bytes;
    bytes.addRaw("VORNHAL\n").add(std::uint32_t{1}).addRaw(boot.substr(0, 36)).addRaw(std::string(12, '\0'));
    return withChecksum(bytes);
}

std::string record(std::uint8_t kind, std::string_view content) {
    state::ByteWriter head;
    head.add(static_cast<std::uint32_t>(content.size())).add(kind);
    const std::uint32_t check = state::checksum(head.bytes());
    head.add(static_cast<std::uint16_t>(check)).add(static_cast<std::uint8_t>(check >> 16)).addRaw(content);
    return withChecksum(head);
}

// A kind and a length, each a byte, then the record's content; again and again.
std::string framed(std::string_view input) {
    std::string bytes = header();
    while (input.size() >= 2) {
        const auto kind = static_cast<std::uint8_t>(static_cast<unsigned char>(input[0]) % 2 + 1);
        const std::string_view content = input.substr(2, static_cast<unsigned char>(input[1]));
        bytes += record(kind, content);
        input.remove_prefix(2 + content.size());
    }
    return bytes;
}

template <typename... Maps>
std::size_t entriesOf(const Maps&... maps) {
    return (maps.size() + ...);
}

std::size_t known() {
    const auto& adapter = *OnuXponHalAdapterBCM::getInstance();
    return entriesOf(m_BridgeIdToUniId, m_VLAN_RULE_MAP_ENTRY, tGemPortMap, gemPortPbitToQMap, m_dscpConfigInfo,
                     m_cTagConfigInfo, m_SERVICE_MAP_ENTRY, adapter.gemPortMap, adapter.allocIdMap,
                     adapter.tcontIdxToGemPortMap);
}

// As a process that has just begun.
void startOver() {
    delete state::currentJournal.exchange(nullptr);
    forgetServices();
}

}  // namespace

int LLVMFuzzerInitialize(int*, char***) {
    silence();
    onu().reset();
    return 0;
}

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size == 0) return 0;
    const std::string_view input(reinterpret_cast<const char*>(data) + 1, size - 1);
    const bool framedRecords = data[0] % 2 != 0;
    const std::string content = framedRecords ? framed(input) : std::string(input);
    onu().clearTrace();
    const std::size_t commands = onu().shellCommands().size();
    {
        const int fd = open(path().c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
        FUZZ_EXPECT(fd >= 0 && write(fd, content.data(), content.size()) == static_cast<ssize_t>(content.size()));
        close(fd);
    }
    const int restored = restart::openState(path().c_str());
    FUZZ_EXPECT(restored >= -1);
    FUZZ_EXPECT(onu().shellCommands().size() == commands);
    if (restored <= 0) FUZZ_EXPECT(known() == 0);
    if (!framedRecords) FUZZ_EXPECT(restored <= 0);
    if (restored >= 0) FUZZ_EXPECT(restart::openState(path().c_str()) == restored);
    startOver();
    // What was written back is sound, and says the same.
    if (restored >= 0) {
        FUZZ_EXPECT(restart::openState(path().c_str()) >= 0);
        restart::cleanDevice();
        for (const auto& command : onu().shellCommands())
            FUZZ_EXPECT(command.text.find_first_of(";`$\n") == std::string::npos);
        startOver();
    }
    unlink(path().c_str());
    constexpr unsigned kInputsABoard = 500;  // what the board remembers of commands and devices gathers
    static unsigned inputs = 0;
    if (++inputs % kInputsABoard == 0) onu().reset();
    return 0;
}
