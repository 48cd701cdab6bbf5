#include "src/g988/AuditedTables.h"

#include <algorithm>

namespace audit = vorn_onu::audit;

audit::TaggingRow auditedRow(const g988::TaggingRow& row) {
    const auto field = [](const g988::TagCodes& codes) {
        return audit::TagField{codes.pbits, codes.vid, codes.tpidDei};
    };
    audit::TaggingRow audited;
    audited.outerFilter = field(row.outerFilter);
    audited.innerFilter = field(row.innerFilter);
    audited.payload = static_cast<audit::PayloadType>(row.etherTypes);
    audited.tagsToRemove = row.tagsToRemove;
    audited.outerTreatment = field(row.outerTreatment);
    audited.innerTreatment = field(row.innerTreatment);
    if (row.bridge) audited.bridge = *row.bridge;
    audited.step = row.bridge ? 1 : 0;  // only those from the start have no bridge
    return audited;
}

AuditedTables::AuditedTables(const g988::Tables& tables) {
    const g988::UniPort& port = tables.uniPorts.at(0);
    bridges_ = port.bridges;
    if (port.tagging) {
        tagging_.emplace().clear();
        tagging_->inputTpid = port.tagging->inputTpid;
        tagging_->outputTpid = port.tagging->outputTpid;
        tagging_->downstreamMode = port.tagging->downstreamMode;
        for (const g988::TaggingRow& row : port.tagging->rows()) tagging_->set(auditedRow(row));
    }
    for (const auto& [bridge, sides] : tables.bridges) {
        for (const g988::PonPort& side : sides) {
            audit::VlanFilter filter{side.filter.forwardOperation, {}};
            for (const g988::FilterTci& tci : side.filter.list)
                filter.list.push_back({tci.pbits, tci.dei != 0, tci.vid});
            sides_.push_back({bridge, side, std::move(filter)});
        }
    }
}

bool AuditedTables::Side::takesProtocol(const Frame& frame) const {
    const bool isIp = frame.etherType == 0x0800 || frame.etherType == 0x86DD;
    return !port.ipProtocol || (isIp && frame.ipProtocol == *port.ipProtocol);
}

bool AuditedTables::Side::owns(unsigned gemIndex) const {
    const auto& places = port.mapper.places;
    return std::any_of(places.begin(), places.end(),
                       [&](const auto& place) { return place && place->gemIndex == gemIndex; });
}

// A frame that no row of the OLT names goes to the bridge whose PON side lets it pass.
unsigned AuditedTables::bridgeFor(const Frame& frame) const {
    for (const Side& side : sides_)
        if (bridges_.count(static_cast<std::uint16_t>(side.bridge)) != 0 && side.filter.passes(frame) &&
            side.takesProtocol(frame))
            return side.bridge;
    return *bridges_.begin();
}

std::optional<AuditedTables::Up> AuditedTables::up(const Frame& frame) const {
    Frame sent = frame;
    std::optional<unsigned> bridge;
    if (tagging_) {
        const audit::Tagging treated = tagging_->upstream(frame);
        if (treated.fate == audit::Tagging::Fate::Dropped) return std::nullopt;
        sent = treated.frame;
        bridge = treated.row->bridge;
    }
    if (!bridge) bridge = bridgeFor(frame);
    for (const bool asks : {true, false}) {  // those that ask for a protocol first
        for (const Side& side : sides_) {
            if (side.bridge != *bridge || side.port.ipProtocol.has_value() != asks) continue;
            if (!side.filter.passes(sent) || !side.takesProtocol(frame)) continue;
            const auto& mapper = side.port.mapper;
            const auto& place = mapper.places[sent.tags.empty() ? mapper.defaultPbits : sent.tags.front().pbits];
            if (place) return Up{place->gemIndex, place->queue, sent};
        }
    }
    return std::nullopt;
}

std::optional<virtual_onu::Frame> AuditedTables::down(unsigned gemIndex, const Frame& frame) const {
    const auto side = std::find_if(sides_.begin(), sides_.end(),
                                   [&](const Side& one) { return one.owns(gemIndex) && one.filter.passes(frame); });
    if (side == sides_.end() || bridges_.count(static_cast<std::uint16_t>(side->bridge)) == 0) return std::nullopt;
    if (!tagging_) return frame;
    const audit::Tagging treated = tagging_->downstream(frame, side->bridge, audit::Untaken::ByVidOrDropped);
    return treated.fate == audit::Tagging::Fate::Passes ? std::optional<Frame>(treated.frame) : std::nullopt;
}
