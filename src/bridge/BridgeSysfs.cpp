// Reading of bridges, ports and the forwarding database, and walks over them.
#include <dirent.h>
#include <fcntl.h>
#include <linux/if_bridge.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <limits>
#include <string>
#include <vector>

#include "bridge/BridgeControl.h"
#include "bridge/BridgeName.h"
#include "hal/FileText.h"
#include "hal/KernelNames.h"

namespace {

timeval timeOf(unsigned long ticks) {
    constexpr auto perSecond = static_cast<unsigned long>(kernel_bridge::kTicksPerSecond);
    constexpr auto microseconds = static_cast<unsigned long>(kernel_bridge::kMicrosecondsPerTick);
    timeval time{};
    time.tv_sec = static_cast<time_t>(ticks / perSecond);
    time.tv_usec = static_cast<suseconds_t>(ticks % perSecond * microseconds);
    return time;
}

// Reads attributes one after the other and keeps the first error. A file that does not hold what is asked for is EIO.
class AttributeReader {
public:
    // Forms the path of an attribute of the object that is read.
    explicit AttributeReader(std::string directory) : directory_(std::move(directory)) {}
    int error() const { return error_; }

    // Decimal, or hexadecimal with 0x in front.
    template <typename Number>
    void number(const char* attribute, Number* value) {
        unsigned long wide = 0;
        if (!read(attribute)) return;
        char* end = nullptr;
        errno = 0;
        wide = std::strtoul(text_.c_str(), &end, 0);
        if (end == text_.c_str() || errno != 0 || wide > std::numeric_limits<Number>::max()) error_ = EIO;
        if (error_ == 0) *value = static_cast<Number>(wide);
    }

    void ticks(const char* attribute, timeval* time) {
        unsigned long count = 0;
        number(attribute, &count);
        if (error_ == 0) *time = timeOf(count);
    }

    // "8000.020304050607"
    void id(const char* attribute, br_id* value) {
        if (!read(attribute)) return;
        constexpr std::size_t kPriorityDigits = 4;
        constexpr std::size_t kMacDigits = 12;
        const std::string priority = text_.substr(0, text_.find('.'));
        const std::string mac = text_.substr(std::min(priority.size() + 1, text_.size()), kMacDigits);
        if (priority.size() != kPriorityDigits || mac.size() != kMacDigits ||
            (priority + mac).find_first_not_of("0123456789abcdefABCDEF") != std::string::npos) {
            error_ = EIO;
            return;
        }
        for (std::size_t i = 0; i < sizeof value->priority; ++i) value->priority[i] = byteAt(priority, i);
        for (std::size_t i = 0; i < sizeof value->mac; ++i) value->mac[i] = byteAt(mac, i);
    }

private:
    bool read(const char* attribute) {
        if (error_ == 0) error_ = kernel_bridge::deviceError(readFileText((directory_ + attribute).c_str(), text_));
        return error_ == 0;
    }
    static std::uint8_t byteAt(const std::string& hex, std::size_t index) {
        return static_cast<std::uint8_t>(std::strtoul(hex.substr(2 * index, 2).c_str(), nullptr, 16));
    }

    std::string directory_;
    std::string text_;
    int error_ = 0;
};

int sortedEntries(const std::string& directory, std::vector<std::string>* names) {
    DIR* stream = opendir(directory.c_str());
    if (stream == nullptr) return kernel_bridge::deviceError(errno);
    // readdir answers null at the end and on an error; only the latter sets errno.
    errno = 0;
    while (const dirent* entry = readdir(stream)) {
        if (isDeviceName(entry->d_name)) names->emplace_back(entry->d_name);
        errno = 0;
    }
    const int error = errno;
    closedir(stream);
    std::sort(names->begin(), names->end());
    return error;
}

bool isBridge(const std::string& name) {
    const int fd = open(kernel_bridge::bridgeAttribute(name.c_str(), "bridge_id").c_str(), O_RDONLY | O_CLOEXEC);
    if (fd >= 0) close(fd);
    return fd >= 0;
}

template <typename Visit>
void walk(const std::vector<std::string>& names, Visit&& visit, int* stopped) {
    int answer = 0;
    for (auto name = names.begin(); name != names.end() && answer == 0; ++name) answer = visit(name->c_str());
    if (stopped != nullptr) *stopped = answer;
}

br_fdb_entry entryOf(const __fdb_entry& raw) {
    br_fdb_entry entry{};
    std::memcpy(entry.mac, raw.mac_addr, sizeof entry.mac);
    entry.port_no = static_cast<std::uint16_t>(raw.port_hi << 8 | raw.port_no);
    entry.is_local = raw.is_local;
    entry.age = timeOf(raw.ageing_timer_value);
    return entry;
}

// Reads up to capacity entries from the file's position on. The kernel hands out whole entries, about a page of them a
// read.
int readEntries(int fd, br_fdb_entry* entries, std::size_t capacity, std::size_t* count) {
    __fdb_entry block[64];
    std::size_t have = 0;
    while (have < capacity) {
        const ssize_t got = read(fd, block, std::min(capacity - have, std::size(block)) * sizeof block[0]);
        if (got < 0) return errno;
        const std::size_t whole = static_cast<std::size_t>(got) / sizeof block[0];
        if (whole == 0) break;
        std::transform(block, block + whole, entries + have, entryOf);
        have += whole;
    }
    *count = have;
    return 0;
}

}  // namespace

int br_get_bridge_info(const char* bridge, struct br_bridge_info* info) {
    if (!isDeviceName(bridge) || info == nullptr) return EINVAL;
    br_bridge_info read{};
    AttributeReader reader(kernel_bridge::bridgeAttribute(bridge, ""));
    reader.id("bridge_id", &read.bridge_id);
    reader.id("root_id", &read.designated_root);
    reader.number("root_path_cost", &read.root_path_cost);
    reader.number("root_port", &read.root_port);
    reader.number("priority", &read.priority);
    reader.ticks("forward_delay", &read.forward_delay);
    reader.ticks("hello_time", &read.hello_time);
    reader.ticks("max_age", &read.max_age);
    reader.ticks("ageing_time", &read.ageing_time);
    reader.number("stp_state", &read.stp_enabled);
    reader.number("topology_change", &read.topology_change);
    reader.number("topology_change_detected", &read.topology_change_detected);
    reader.ticks("hello_timer", &read.hello_timer);
    reader.ticks("tcn_timer", &read.tcn_timer);
    reader.ticks("topology_change_timer", &read.topology_change_timer);
    reader.ticks("gc_timer", &read.gc_timer);
    if (reader.error() == 0) *info = read;
    return reader.error();
}

int br_get_port_info(const char* bridge, const char* port, struct br_port_info* info) {
    if (!isDeviceName(bridge) || !isDeviceName(port) || info == nullptr) return EINVAL;
    br_port_info read{};
    AttributeReader reader(kernel_bridge::portAttribute(bridge, port, ""));
    reader.number("port_no", &read.port_no);
    reader.number("port_id", &read.port_id);
    reader.number("priority", &read.priority);
    reader.number("state", &read.state);
    reader.number("path_cost", &read.path_cost);
    reader.id("designated_root", &read.designated_root);
    reader.id("designated_bridge", &read.designated_bridge);
    reader.number("designated_port", &read.designated_port);
    reader.number("designated_cost", &read.designated_cost);
    reader.ticks("message_age_timer", &read.message_age_timer);
    reader.ticks("forward_delay_timer", &read.forward_delay_timer);
    reader.ticks("hold_timer", &read.hold_timer);
    if (reader.error() == 0) *info = read;
    return reader.error();
}

int br_read_fdb(const char* bridge, struct br_fdb_entry* entries, size_t capacity, size_t skip, size_t* count) {
    constexpr std::size_t kMaxEntries = std::numeric_limits<std::int32_t>::max() / sizeof(__fdb_entry);
    if (!isDeviceName(bridge) || entries == nullptr || count == nullptr || skip > kMaxEntries) return EINVAL;
    const std::string path = std::string(kernel_bridge::kNetClass) + "/" + bridge + "/" SYSFS_BRIDGE_FDB;
    const int fd = open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (fd < 0) return kernel_bridge::deviceError(errno);
    int error = lseek(fd, static_cast<off_t>(skip * sizeof(__fdb_entry)), SEEK_SET) < 0 ? errno : 0;
    if (error == 0) error = readEntries(fd, entries, capacity, count);
    close(fd);
    return error;
}

int br_foreach_bridge(int (*visit)(const char* bridge, void* context), void* context, int* stopped) {
    if (visit == nullptr) return EINVAL;
    std::vector<std::string> names;
    if (const int error = sortedEntries(kernel_bridge::kNetClass, &names); error != 0) return error;
    names.erase(std::remove_if(names.begin(), names.end(), [](const auto& name) { return !isBridge(name); }),
                names.end());
    walk(
        names, [&](const char* name) { return visit(name, context); }, stopped);
    return 0;
}

int br_foreach_port(const char* bridge, int (*visit)(const char* bridge, const char* port, void* context),
                    void* context, int* stopped) {
    if (!isDeviceName(bridge) || visit == nullptr) return EINVAL;
    std::vector<std::string> names;
    const std::string directory = std::string(kernel_bridge::kNetClass) + "/" + bridge + "/" SYSFS_BRIDGE_PORT_SUBDIR;
    if (const int error = sortedEntries(directory, &names); error != 0) return error;
    walk(
        names, [&](const char* name) { return visit(bridge, name, context); }, stopped);
    return 0;
}
