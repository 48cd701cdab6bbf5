#include "living/BoardSocket.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <stdexcept>
#include <system_error>

#include "DeviceTexts.h"
#include "running/io/OwnDirectory.h"

namespace vorn_onu::living {

namespace {

constexpr std::size_t kMaxNameLength = 40;
constexpr int kWaiting = 64;  // clients that nobody has looked at yet
const std::string kSocketEnd = ".sock";

std::string reason() {
    return std::generic_category().message(errno);
}

bool isSameFile(int descriptor, const std::string& path) {
    struct stat open {
    }, named{};
    return fstat(descriptor, &open) == 0 && stat(path.c_str(), &named) == 0 && open.st_ino == named.st_ino &&
           open.st_dev == named.st_dev;
}

}  // namespace

std::string problemOfName(const std::string& name) {
    if (name.empty()) return "is empty";
    if (name.size() > kMaxNameLength) return "is longer than " + std::to_string(kMaxNameLength) + " characters";
    if (name.front() == '.' || name.front() == '-') return "must begin with a letter or a digit";
    if (!std::all_of(name.begin(), name.end(), virtual_onu::network::isPlainCharacter))
        return "may have letters, digits, '-', '_' and '.'";
    return "";
}

std::string socketPath(const std::string& name) {
    return runtimeDirectory() + "/" + name + kSocketEnd;
}

std::vector<std::string> knownNames() {
    std::vector<std::string> names;
    std::error_code ignored;
    for (const auto& entry : std::filesystem::directory_iterator(runtimeDirectory(), ignored))
        if (entry.path().extension() == kSocketEnd) names.push_back(entry.path().stem().string());
    std::sort(names.begin(), names.end());
    return names;
}

BoardSocket::BoardSocket(const std::string& name) : name_(name) {
    const std::string problem = problemOfName(name);
    if (!problem.empty()) throw std::runtime_error("the name '" + name + "' " + problem);
    path_ = socketPath(name);
    lockPath_ = path_.substr(0, path_.size() - kSocketEnd.size()) + ".lock";
    lock();
    try {
        listen();
    } catch (...) {
        close(lock_);
        throw;
    }
}

BoardSocket::~BoardSocket() {
    unlink(path_.c_str());
    close(socket_);
    unlink(lockPath_.c_str());
    close(lock_);
}

void BoardSocket::lock() {
    while (true) {
        lock_ = open(lockPath_.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, S_IRUSR | S_IWUSR);
        if (lock_ < 0) throw std::runtime_error(lockPath_ + ": " + reason());
        const bool locked = flock(lock_, LOCK_EX | LOCK_NB) == 0;
        if (locked && isSameFile(lock_, lockPath_)) return;  // not one that its owner was about to take away
        close(lock_);
        if (!locked) throw std::runtime_error("a board with the name '" + name_ + "' runs already");
    }
}

// Clients connect as soon as they see the socket's name, so it gets that name when it listens, not when it is bound.
void BoardSocket::listen() {
    const std::string bound = path_.substr(0, path_.rfind('.')) + ".new";
    sockaddr_un place{};
    place.sun_family = AF_UNIX;
    if (path_.size() >= sizeof place.sun_path) throw std::runtime_error(path_ + ": is too long for a socket");
    std::copy(bound.begin(), bound.end(), place.sun_path);
    unlink(bound.c_str());
    socket_ = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
    const mode_t before = umask(S_IRWXG | S_IRWXO);
    const bool listens = bind(socket_, reinterpret_cast<const sockaddr*>(&place), sizeof place) == 0 &&
                         ::listen(socket_, kWaiting) == 0 && rename(bound.c_str(), path_.c_str()) == 0;
    const std::string why = reason();
    umask(before);
    if (listens) return;
    unlink(bound.c_str());
    close(socket_);
    throw std::runtime_error(path_ + ": " + why);
}

}  // namespace vorn_onu::living
