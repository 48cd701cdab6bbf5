#include "taps/TapPage.h"

#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <new>
#include <stdexcept>

#include <nlohmann/json.hpp>

#include "taps/OwnDescriptors.h"
#include "taps/TapOffload.h"

namespace virtual_onu::taps {

namespace {

constexpr std::uint64_t kMagic = 0x32536150'6154;  // the tool and the program's virtual ONU are of one version

const char* offloadWord(std::uint64_t kinds) {
    if (kinds == kNoOffload) return "none";
    return kinds == kTcpSegments ? "tcp" : "tcp, udp";
}

}  // namespace

struct TapPage::Layout {
    Count magic, count;
    std::array<TapEntry, kMaxTaps> entries;
};

TapPage::TapPage() : descriptor_(memfd_create("taps", MFD_CLOEXEC)) {
    if (descriptor_ < 0 || ftruncate(descriptor_, sizeof(Layout)) != 0)
        throw std::runtime_error("there is no memory to share with the program");
    void* place = mmap(nullptr, sizeof(Layout), PROT_READ | PROT_WRITE, MAP_SHARED, descriptor_, 0);
    if (place == MAP_FAILED) throw std::runtime_error("there is no memory to share with the program");
    page_ = new (place) Layout;
    page_->magic.set(kMagic);
}

TapPage::TapPage(int descriptor) : descriptor_(descriptor) {
    const off_t size = lseek(descriptor, 0, SEEK_END);
    if (size != static_cast<off_t>(sizeof(Layout))) return;
    void* place = own::map(descriptor_, sizeof(Layout));
    if (place == MAP_FAILED) return;
    page_ = static_cast<Layout*>(place);
    if (page_->magic.get() == kMagic && page_->count.get() <= kMaxTaps) return;
    munmap(place, sizeof(Layout));
    page_ = nullptr;
}

TapPage::~TapPage() {
    if (page_ != nullptr) munmap(page_, sizeof(Layout));
    if (descriptor_ >= 0) own::close(descriptor_);
}

std::size_t TapPage::size() const {
    return static_cast<std::size_t>(page_->count.get());
}

void TapPage::add(const TapRequest& request) {
    TapEntry& entry = page_->entries.at(size());
    entry.device.set(request.device);
    entry.gemPort.set(request.gemPort.value_or(0));
    entry.interface.set(request.interface);
    entry.netns.set(request.netns);
    page_->count.add(1);
}

TapEntry& TapPage::operator[](std::size_t place) const {
    return page_->entries[place];
}

nlohmann::json TapPage::toJson() const {
    auto all = nlohmann::json::array();
    for (std::size_t i = 0; i < size(); ++i) {
        const TapEntry& one = (*this)[i];
        const std::string device = one.device.get();
        all.push_back({{"port", device.empty() ? "gem " + std::to_string(one.gemPort.get()) : device},
                       {"interface", one.interface.get()},
                       {"netns", one.netns.get()},
                       {"linkUp", one.linkUp.get() != 0},
                       {"became", one.became.get()},
                       {"framesIn", one.framesIn.get()},
                       {"octetsIn", one.octetsIn.get()},
                       {"framesOut", one.framesOut.get()},
                       {"octetsOut", one.octetsOut.get()},
                       {"dropped", one.dropped.get()},
                       {"lastDrop", one.lastDrop.get()},
                       {"elsewhere", one.elsewhere.get()},
                       {"lastElsewhere", one.lastElsewhere.get()},
                       {"lostIn", one.lostIn.get()},
                       {"lostOut", one.lostOut.get()},
                       {"offload", offloadWord(one.offload.get())},
                       {"whyNoOffload", one.whyNoOffload.get()},
                       {"segmentsIn", one.segmentsIn.get()},
                       {"segmentFramesIn", one.segmentFramesIn.get()},
                       {"segmentsOut", one.segmentsOut.get()},
                       {"segmentFramesOut", one.segmentFramesOut.get()}});
    }
    return all;
}

}  // namespace virtual_onu::taps
