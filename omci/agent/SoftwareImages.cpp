#include "omci/agent/SoftwareImages.h"

#include <algorithm>
#include <string>
#include <utility>

#include "omci/message/Integrity.h"

namespace omci {

namespace {

EntityKey keyOf(InstanceId image) {
    return {class_id::kSoftwareImage, image};
}

}  // namespace

InstanceId SoftwareImages::marked(AttributeNumber mark) const {
    for (const auto& [instance, entity] : mib_.instances(class_id::kSoftwareImage)) {
        if (entity.number8(mark) == 1) return instance;
    }
    return 0;
}

bool SoftwareImages::isMarked(InstanceId image, AttributeNumber attribute) const {
    const Entity* entity = mib_.find(keyOf(image));
    return entity != nullptr && entity->number8(attribute) == 1;
}

void SoftwareImages::mark(InstanceId image, AttributeNumber attribute, bool set) {
    outbox_.change(keyOf(image), attribute, set ? 1 : 0);
}

void SoftwareImages::markOnly(InstanceId image, AttributeNumber attribute) {
    for (const auto& [instance, entity] : mib_.instances(class_id::kSoftwareImage)) {
        if (instance != image) mark(instance, attribute, false);
    }
    mark(image, attribute, true);
}

ByteView SoftwareImages::bytes(InstanceId image) const {
    return image < images_.size() ? ByteView(images_[image]) : ByteView();
}

DownloadStartAnswer SoftwareImages::start(InstanceId image, const DownloadStart& request) {
    const bool several = request.images.size() > 1 || (request.images.size() == 1 && request.images[0] != image);
    const bool inUse =
        isMarked(image, attr::software_image::kIsCommitted) || isMarked(image, attr::software_image::kIsActive);
    // Not certain: the code for an image in use. Several images at once are for slots that this ONU does not have.
    const bool refused =
        several || inUse || image >= images_.size() || request.imageSize == 0 || request.imageSize > kMaxImageSize;
    if (refused) return {Result::kParameterError, request.windowSize, {{image, Result::kParameterError}}};
    if (download_ && download_->image != image)
        return {Result::kDeviceBusy, request.windowSize, {{image, Result::kDeviceBusy}}};

    download_.emplace();
    download_->image = image;
    download_->size = request.imageSize;
    download_->sections.resize(request.windowSize);
    images_[image].clear();
    mark(image, attr::software_image::kIsValid, false);
    return {Result::kSuccess, request.windowSize, {{image, Result::kSuccess}}};
}

SectionAnswer SoftwareImages::section(const ImageSection& section, bool endsWindow) {
    if (!download_) return {Result::kProcessingError, section.number};
    ImageDownload& download = *download_;
    const bool fits = section.number < download.sections.size() && !section.data.empty();
    if (fits) download.sections[section.number] = section.data;
    if (!endsWindow) return {fits ? Result::kSuccess : Result::kProcessingError, section.number};

    const auto first = download.sections.begin();
    const auto last =
        first + std::min<std::ptrdiff_t>(section.number + 1, std::distance(first, download.sections.end()));
    const bool whole = fits && std::none_of(first, last, [](const Bytes& bytes) { return bytes.empty(); });
    if (whole) {
        for (auto at = first; at != last; ++at) {
            // The last section of an image in the baseline set is padded.
            const std::size_t left = download.size - download.bytes.size();
            const ByteView part = ByteView(*at).part(0, left);
            download.bytes.insert(download.bytes.end(), part.begin(), part.end());
        }
    }
    for (Bytes& bytes : download.sections) bytes.clear();
    return {whole ? Result::kSuccess : Result::kProcessingError, section.number};
}

Result SoftwareImages::check(const DownloadEnd& request) const {
    if (request.imageSize != download_->size) return Result::kParameterError;
    const bool good = download_->bytes.size() == download_->size && crc32(download_->bytes) == request.crc;
    return good ? Result::kSuccess : Result::kProcessingError;
}

DownloadEndAnswer SoftwareImages::end(InstanceId image, const DownloadEnd& request) {
    if (!download_ || download_->image != image) return {Result::kProcessingError, {{image, Result::kProcessingError}}};
    const bool several = request.images.size() > 1 || (request.images.size() == 1 && request.images[0] != image);
    const Result result = several ? Result::kParameterError : check(request);
    if (result == Result::kSuccess) {
        images_[image] = std::move(download_->bytes);
        const std::string version = device_.imageVersion(images_[image]);
        const auto hash = md5(images_[image]);
        Bytes text(version.begin(), version.end());
        outbox_.change(keyOf(image), attr::software_image::kVersion, text);
        if (hash) outbox_.change(keyOf(image), attr::software_image::kImageHash, {hash->data(), hash->size()});
        mark(image, attr::software_image::kIsValid, true);
    }
    download_.reset();
    return {result, {{image, result}}};
}

Result SoftwareImages::activate(InstanceId image, std::uint8_t flags) {
    if (flags > 2 || !isMarked(image, attr::software_image::kIsValid)) return Result::kParameterError;
    if (flags != 0 && device_.callInProgress(flags == 2)) return Result::kDeviceBusy;
    return Result::kSuccess;
}

Result SoftwareImages::commit(InstanceId image) {
    if (!isMarked(image, attr::software_image::kIsValid)) return Result::kParameterError;
    markOnly(image, attr::software_image::kIsCommitted);
    return Result::kSuccess;
}

void SoftwareImages::restarted(InstanceId image) {
    download_.reset();
    markOnly(image, attr::software_image::kIsActive);
}

}  // namespace omci
