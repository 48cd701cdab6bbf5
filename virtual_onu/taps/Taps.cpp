#include "Taps.h"

#include <poll.h>
#include <sys/eventfd.h>

#include <map>
#include <stdexcept>
#include <thread>
#include <utility>

#include <nlohmann/json.hpp>

#include "OwnThread.h"
#include "real_libc/RealLibc.h"
#include "taps/LinkWatch.h"
#include "taps/Pump.h"
#include "taps/TapDevice.h"

namespace virtual_onu {

namespace {

constexpr int kAnswerMs = 200;  // of the kernel, about links

// Waits for the kernel's answers to what was asked.
void hearNow(const taps::OpenTaps& open) {
    open.askForLinks();
    for (const int watch : open.watches) {
        pollfd wait{watch, POLLIN, 0};
        poll(&wait, 1, kAnswerMs);
    }
    open.hear([](std::size_t, bool) {});  // links are the board's to look at
}

}  // namespace

std::string TapRequest::port() const {
    return gemPort ? "gem " + std::to_string(*gemPort) : device;
}

std::string TapRequest::place() const {
    return interface + (netns.empty() ? "" : " in " + netns);
}

struct Taps::Running {
    explicit Running(const taps::OpenTaps& open) : pump(open, [](bool) {}) {}
    ~Running() {
        eventfd_write(ending, 1);
        if (thread.joinable()) thread.join();
        real::close(ending);
    }
    Running(const Running&) = delete;
    Running& operator=(const Running&) = delete;
    int ending = eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
    taps::Pump pump;  // made before its thread runs: the board's state names the TAPs from here on
    std::thread thread;
};

Taps::Taps(const std::vector<TapRequest>& requests) : open_(std::make_unique<taps::OpenTaps>()) {
    if (requests.size() > kMaxTaps)
        throw std::runtime_error("at most " + std::to_string(kMaxTaps) + " ports can be TAPs");
    open_->page = std::make_unique<taps::TapPage>();
    std::map<std::string, std::size_t> watchOf;  // by namespace
    for (const TapRequest& request : requests) {
        taps::inNamespace(request.netns, [&] {
            const taps::TapDevice device = taps::openTap(request);
            open_->taps.push_back(device.descriptor);
            if (watchOf.emplace(request.netns, open_->watches.size()).second) {
                const int watch = taps::openLinkWatch();
                if (watch < 0) throw std::runtime_error(request.place() + ": its link cannot be watched");
                open_->watches.push_back(watch);
            }
            open_->page->add(request);
            taps::TapEntry& entry = (*open_->page)[open_->page->size() - 1];
            entry.index.set(static_cast<std::uint64_t>(device.index));
            entry.watch.set(watchOf[request.netns]);
            entry.offload.set(device.offload);
            entry.whyNoOffload.set(device.whyNoOffload);
        });
    }
    hearNow(*open_);
    for (std::size_t i = 0; i < open_->page->size(); ++i) {
        taps::TapEntry& entry = (*open_->page)[i];
        entry.lostInBefore.set(entry.lostIn.get());
        entry.lostIn.set(0);
    }
}

// A TAP of somebody else's is left as it was.
Taps::~Taps() {
    stop();
    for (std::size_t i = 0; i < open_->taps.size(); ++i)
        if ((*open_->page)[i].offload.get() != taps::kNoOffload) taps::giveOffloadBack(open_->taps[i]);
}

void Taps::start() {
    if (running_ != nullptr) return;
    auto running = std::make_unique<Running>(*open_);
    setCarriers(true);  // first, or the board would see its links come up
    running->thread = startThread([running = running.get()] { running->pump.run(running->ending); });
    running_ = std::move(running);
}

void Taps::stop() {
    if (running_ == nullptr) return;
    setCarriers(false);
    running_.reset();
}

void Taps::setCarriers(bool on) const {
    open_->setCarriers(on);
}

std::vector<int> Taps::descriptors() const {
    std::vector<int> all{open_->page->descriptor()};
    all.insert(all.end(), open_->taps.begin(), open_->taps.end());
    all.insert(all.end(), open_->watches.begin(), open_->watches.end());
    return all;
}

nlohmann::json Taps::toJson() const {
    if (running_ == nullptr) hearNow(*open_);
    return open_->page->toJson();
}

}  // namespace virtual_onu
