#include "kernel/HostSysfs.h"

#include <fcntl.h>
#include <net/if.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>

#include "real_libc/RealLibc.h"

namespace virtual_onu::host::kernel {
namespace {

constexpr char kNetClass[] = "/sys/class/net/";

std::string contentOf(const std::string& file) {
    const int fd = real::open(file.c_str(), O_RDONLY | O_CLOEXEC, 0);
    if (fd < 0) return "";
    std::array<char, 4096> text{};
    const ssize_t length = real::read(fd, text.data(), text.size());
    real::close(fd);
    std::string content(text.data(), length < 0 ? 0 : static_cast<std::size_t>(length));
    while (!content.empty() && content.back() == '\n') content.pop_back();
    return content;
}

std::string text(const std::string& name, const std::string& attribute) {
    return contentOf(path(name, attribute));
}

int number(const std::string& name, const std::string& attribute) {
    return static_cast<int>(std::strtol(text(name, attribute).c_str(), nullptr, 0));
}

bool has(const std::string& name, const std::string& attribute) {
    return real::access(path(name, attribute).c_str(), F_OK) == 0;
}

std::vector<std::string> entries(const std::string& folder) {
    std::vector<std::string> result;
    DIR* stream = real::opendir(folder.c_str());
    if (stream == nullptr) return result;
    while (const dirent64* entry = readdir64(stream)) {
        if (entry->d_name[0] != '.') result.emplace_back(entry->d_name);
    }
    real::closedir(stream);
    return result;
}

std::string masterOf(const std::string& name) {
    std::array<char, 256> target{};
    if (readlink(path(name, "master").c_str(), target.data(), target.size() - 1) < 0) return "";
    const std::string place = target.data();
    return place.substr(place.rfind('/') + 1);
}

}  // namespace

std::string path(const std::string& name, const std::string& attribute) {
    return kNetClass + name + "/" + attribute;
}

std::vector<std::string> names() {
    return entries(kNetClass);
}

bool exists(const std::string& name) {
    return !name.empty() && has(name, "ifindex");
}

bool isUp(const std::string& name) {
    return (number(name, "flags") & IFF_UP) != 0;
}

std::optional<NetworkDevice> device(const std::string& name) {
    if (!exists(name)) return std::nullopt;
    NetworkDevice result;
    result.name = name;
    result.index = number(name, "ifindex");
    result.flags = static_cast<unsigned>(number(name, "flags"));
    result.up = (result.flags & IFF_UP) != 0;
    result.mtu = number(name, "mtu");
    result.mac = text(name, "address");
    result.master = masterOf(name);
    result.isBridge = has(name, "bridge");
    // The kernel works its "operstate" out a little later and says "unknown" until then.
    result.operState = result.up && number(name, "carrier") == 1 ? "up" : "down";
    result.ipv6Disabled = contentOf("/proc/sys/net/ipv6/conf/" + name + "/disable_ipv6") == "1";
    for (const auto& key : entries(path(name, "statistics"))) {
        result.statistics[key] = std::strtoull(text(name, "statistics/" + key).c_str(), nullptr, 10);
    }
    return result;
}

std::optional<Bridge> bridge(const std::string& name) {
    if (!exists(name) || !has(name, "bridge")) return std::nullopt;
    Bridge result;
    result.name = name;
    result.stp = number(name, "bridge/stp_state") != 0;
    result.forwardDelay = number(name, "bridge/forward_delay");
    result.helloTime = number(name, "bridge/hello_time");
    result.maxAge = number(name, "bridge/max_age");
    result.ageingTime = number(name, "bridge/ageing_time");
    result.priority = number(name, "bridge/priority");
    std::vector<std::string> members = entries(path(name, "brif"));
    std::sort(members.begin(), members.end(), [](const std::string& left, const std::string& right) {
        return number(left, "brport/port_no") < number(right, "brport/port_no");
    });
    for (const auto& member : members) {
        if (auto found = port(member)) result.ports.push_back(*found);
    }
    return result;
}

std::optional<BridgePort> port(const std::string& name) {
    if (!has(name, "brport")) return std::nullopt;
    BridgePort result;
    result.name = name;
    result.priority = number(name, "brport/priority");
    result.pathCost = number(name, "brport/path_cost");
    result.isolated = number(name, "brport/isolated") == 1;
    return result;
}

}  // namespace virtual_onu::host::kernel
