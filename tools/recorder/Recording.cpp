#include "Recording.h"

#include <dlfcn.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string_view>

#include <nlohmann/json.hpp>

#include "hal/HalForwarding.h"
#include "running/scenario/fields/Field.h"

namespace recorder {

namespace {

constexpr const char* kVariable = "VORN_RECORDER_FILE";
constexpr const char* kDidNotReturn = "did not return";
constexpr std::string_view kEnd = "\n]}\n";

thread_local int callsUnderWay = 0;

// The daemon sees the errno of the HAL, not the recorder's.
class KeepErrno {
public:
    KeepErrno() = default;
    ~KeepErrno() { errno = kept_; }
    KeepErrno(const KeepErrno&) = delete;
    KeepErrno& operator=(const KeepErrno&) = delete;

private:
    int kept_ = errno;
};

std::string textOf(const Json& json) {
    return json.dump(-1, ' ', false, Json::error_handler_t::replace);
}

// What the HAL says, which the program may have set otherwise than the environment does. One without these functions
// goes by its contract.
bool isByG988() {
    const auto chosen = reinterpret_cast<int (*)()>(dlsym(RTLD_DEFAULT, "vorn_hal_get_forwarding"));
    return chosen != nullptr && chosen() == VORN_HAL_FORWARDING_G988;
}

std::string heading() {
    const Json version = vorn_onu::kFormatVersion;
    const Json title = std::string("What ") + program_invocation_short_name + " asked of the HAL";
    const std::string forwarding = isByG988() ? ",\n \"forwarding\": \"g988\"" : "";
    return "{\"version\": " + textOf(version) + ",\n \"title\": " + textOf(title) + forwarding + ",\n \"steps\": [\n";
}

class File {
public:
    File(const std::string& path, int flags) : descriptor_(open(path.c_str(), flags | O_CLOEXEC, 0644)) {}
    ~File() {
        if (descriptor_ >= 0) close(descriptor_);
    }
    File(const File&) = delete;
    File& operator=(const File&) = delete;
    bool good() const { return descriptor_ >= 0; }
    off_t size() const {
        struct stat found {};
        return fstat(descriptor_, &found) == 0 ? found.st_size : -1;
    }
    bool write(const std::string& text, off_t at) const {
        for (std::size_t done = 0; done < text.size();) {
            const ssize_t count =
                pwrite(descriptor_, text.data() + done, text.size() - done, at + static_cast<off_t>(done));
            if (count < 0 && errno == EINTR) continue;
            if (count <= 0) return false;
            done += static_cast<std::size_t>(count);
        }
        return true;
    }
    bool cut(off_t size) const { return ftruncate(descriptor_, size) == 0; }

private:
    int descriptor_;
};

}  // namespace

Recording* Recording::current() {
    static Recording* const one = [] {
        const char* path = std::getenv(kVariable);  // NOLINT(concurrency-mt-unsafe): nothing sets the environment
        if (path == nullptr || *path == '\0') return static_cast<Recording*>(nullptr);
        return new Recording(path);  // never destroyed: calls may come while the process ends
    }();
    return one;
}

Recording::Recording(std::string path) : path_(std::move(path)), process_(getpid()) {}

// A forked child goes on with what it inherits, unless another thread of its parent was just writing: that thread does
// not exist in the child, and never gives the lock back.
std::unique_lock<std::mutex> Recording::locked() {
    if (process_ == getpid()) return std::unique_lock<std::mutex>(mutex_);
    std::unique_lock<std::mutex> lock(mutex_, std::try_to_lock);
    if (lock)
        process_ = getpid();
    else
        stop("another thread was writing when this process was forked");
    return lock;
}

bool Recording::create(const std::string& path) {
    const File file(path, O_WRONLY | O_CREAT | O_EXCL);
    if (!file.good()) return false;
    const std::string start = heading();
    path_ = path;
    settled_ = static_cast<off_t>(start.size());
    size_ = settled_ + static_cast<off_t>(kEnd.size());
    anySettled_ = false;
    return file.write(start + std::string(kEnd), 0);
}

bool Recording::startFile() {
    if (create(path_)) return true;
    if (errno != EEXIST) return false;
    const std::string beside = path_ + "." + std::to_string(getpid());
    std::fprintf(stderr, "recorder: %s is there already, recording to %s\n", path_.c_str(), beside.c_str());
    return create(beside);
}

void Recording::stop(const std::string& why) {
    std::fprintf(stderr, "recorder: %s: %s: nothing more is recorded\n", path_.c_str(), why.c_str());
    stopped_ = true;
}

// After a fork, parent and child could both go on: the one that finds the other's calls makes a file of its own.
bool Recording::othersWrite() const {
    const File file(path_, O_RDONLY);
    return file.good() && file.size() != size_;
}

// The file is opened again for each call: a daemon closes descriptors that it does not know, and may use their numbers.
void Recording::write() {
    const bool started = size_ != 0 && !othersWrite();
    if (!started && !startFile()) return stop(std::strerror(errno));
    const File file(path_, O_WRONLY);
    if (!file.good()) return stop(std::strerror(errno));
    std::string text;
    for (const Call& call : calls_) text += (anySettled_ || !text.empty() ? ",\n" : "") + call.text;
    text += kEnd;
    const off_t next = settled_ + static_cast<off_t>(text.size());
    // Blanks over the rest of a longer end, so that the file is whole before it is cut, too.
    if (next < size_) text.append(static_cast<std::size_t>(size_ - next), ' ');
    if (!file.write(text, settled_) || !file.cut(next)) {
        stop(std::strerror(errno));
        const std::string end(kEnd);  // there is room for it: an end was there before
        if (file.write(end, settled_) && file.cut(settled_ + static_cast<off_t>(end.size()))) calls_.clear();
        return;
    }
    size_ = next;
    while (!calls_.empty() && calls_.front().over) {
        settled_ += static_cast<off_t>((anySettled_ ? 2 : 0) + calls_.front().text.size());
        anySettled_ = true;
        calls_.pop_front();
    }
}

std::uint64_t Recording::begin(const Json& step) {
    if (stopped_) return 0;
    const auto lock = locked();
    if (!lock) return 0;
    calls_.push_back({++lastNumber_, textOf(step), false});
    write();
    return lastNumber_;
}

void Recording::end(std::uint64_t number, const Json& step) {
    if (stopped_) return;
    const auto lock = locked();
    if (!lock) return;
    for (Call& call : calls_) {
        if (call.number != number) continue;
        call.text = textOf(step);
        call.over = true;
    }
    write();
}

RecordedCall::RecordedCall(const char* operation, const Json& fields) {
    const KeepErrno keep;
    if (++callsUnderWay > 1 || Recording::current() == nullptr) return;
    Json& step = *step_;
    step = {{"call", operation}};
    step.update(fields);
    if (step.contains("note")) note_ = step["note"].get<std::string>();
    step["note"] = (note_.empty() ? "" : note_ + "; ") + kDidNotReturn;
    recording_ = Recording::current();
    call_ = recording_->begin(step);
}

RecordedCall::~RecordedCall() {
    const KeepErrno keep;
    --callsUnderWay;
    if (recording_ != nullptr) recording_->end(call_, *step_);
}

void RecordedCall::answered(const Json& result) {
    answered(result, Json::object());
}

void RecordedCall::answered(const Json& result, const Json& output) {
    if (recording_ == nullptr) return;
    Json& step = *step_;
    step.erase("note");
    if (!result.is_null()) step["result"] = result;
    if (!output.empty()) step["output"] = output;
    if (!note_.empty()) step["note"] = note_;
}

}  // namespace recorder
