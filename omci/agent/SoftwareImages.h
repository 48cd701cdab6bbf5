// Software images as the OLT loads, activates and commits them. They are kept in memory and never written anywhere.
#ifndef OMCI_AGENT_SOFTWARE_IMAGES_H
#define OMCI_AGENT_SOFTWARE_IMAGES_H

#include <array>
#include <cstdint>
#include <optional>

#include "omci/agent/Device.h"
#include "omci/agent/Outbox.h"
#include "omci/message/Contents.h"
#include "omci/mib/Mib.h"

namespace omci {

constexpr std::uint32_t kMaxImageSize = 64U << 20;  // bytes

// What of an image has come in.
struct ImageDownload {
    InstanceId image = 0;
    std::uint32_t size = 0;       // as announced
    Bytes bytes;                  // whole windows
    std::vector<Bytes> sections;  // of the window that is coming in, by number
};

class SoftwareImages {
public:
    // All live as long as this object.
    SoftwareImages(Mib& mib, Outbox& outbox, Device& device) : mib_(mib), outbox_(outbox), device_(device) {}

    // The entity of each request exists and is a software image.
    DownloadStartAnswer start(InstanceId image, const DownloadStart& request);
    // Sections without an answer are collected; the one with an answer ends its window. A window with a section missing
    // is refused, and the OLT sends it once more.
    SectionAnswer section(const ImageSection& section, bool endsWindow);
    DownloadEndAnswer end(InstanceId image, const DownloadEnd& request);
    // The ONU has to restart with the image after the answer has gone.
    Result activate(InstanceId image, std::uint8_t flags);
    Result commit(InstanceId image);
    // The ONU has restarted with the image: it is the active one.
    void restarted(InstanceId image);

    // The image that the next start loads, the one that runs; 0 where none is marked.
    InstanceId committed() const { return marked(attr::software_image::kIsCommitted); }
    InstanceId active() const { return marked(attr::software_image::kIsActive); }
    // What was loaded; empty for the image that the ONU came with.
    ByteView bytes(InstanceId image) const;

private:
    InstanceId marked(AttributeNumber mark) const;
    void mark(InstanceId image, AttributeNumber attribute, bool set);
    void markOnly(InstanceId image, AttributeNumber attribute);
    bool isMarked(InstanceId image, AttributeNumber attribute) const;
    Result check(const DownloadEnd& request) const;

    Mib& mib_;
    Outbox& outbox_;
    Device& device_;
    std::optional<ImageDownload> download_;
    std::array<Bytes, 2> images_;
};

}  // namespace omci

#endif
