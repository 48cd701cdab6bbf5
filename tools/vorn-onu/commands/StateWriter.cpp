#include "commands/StateWriter.h"

#include <sys/resource.h>

#include <cstdio>
#include <exception>
#include <utility>

#include "OwnThread.h"
#include "running/io/Files.h"

namespace vorn_onu {

namespace {

constexpr int kLessUrgent = 10;  // than what answers messages

}  // namespace

StateWriter::StateWriter(std::string path) : path_(std::move(path)) {
    if (path_.empty()) return;
    thread_ = virtual_onu::startThread([this] { work(); });
}

StateWriter::~StateWriter() {
    if (!thread_.joinable()) return;
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        ending_ = true;
    }
    news_.notify_one();
    thread_.join();
}

void StateWriter::write(Text text) {
    if (path_.empty()) return;
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        if (!problem_.empty()) throw FileProblem(path_, problem_);
        waiting_ = std::move(text);
    }
    news_.notify_one();
}

void StateWriter::work() {
    setpriority(PRIO_PROCESS, 0, kLessUrgent);  // of this thread alone
    std::unique_lock<std::mutex> lock(mutex_);
    while (true) {
        news_.wait(lock, [this] { return ending_ || waiting_ != nullptr; });
        if (ending_) return;
        const Text text = std::exchange(waiting_, nullptr);
        lock.unlock();
        std::string problem;
        try {
            const std::string beside = path_ + ".new";
            writeFile(beside, text());
            if (std::rename(beside.c_str(), path_.c_str()) != 0) problem = "cannot be written";
        } catch (const std::exception& error) {
            problem = error.what();
        }
        lock.lock();
        if (!problem.empty()) problem_ = problem;
    }
}

}  // namespace vorn_onu
