#include "living/MessageCounts.h"

namespace vorn_onu {

namespace {

std::string answeredWith(const Played& played) {
    if (!played.answerMessage) return "none";
    const auto result = omci::resultOf(omci::decodeContent(*played.answerMessage).content);
    return omci::nameOf(result.value_or(omci::Result::kSuccess));
}

}  // namespace

void MessageCounts::add(const Played& played) {
    if (played.fromOnu) {
        ++autonomous_[played.text.type];
        return;
    }
    ++requests_[{played.text.type, answeredWith(played)}];
    for (const omci::MessageText& message : played.autonomous) ++autonomous_[message.type];
    repeated_ += played.repeated ? 1U : 0U;
    faults_ += played.fault.empty() ? 0U : 1U;
    problems_ += played.problems.size();
    if (played.latencyMs) durations_.add(*played.latencyMs / 1000);
}

living::MetricText MessageCounts::metrics(const omci::GateCounters& gate, std::uint64_t ofOthers,
                                          const omci::Mib& mib) const {
    living::MetricText all;
    const auto one = [&all](const char* name, const char* help, std::uint64_t value) {
        all.counter(name, help);
        all.sample({}, value);
    };
    all.counter("vorn_onu_omci_requests_total",
                "Messages of the OLT by type and by the result of their answer; none: there was no answer.");
    for (const auto& [key, count] : requests_) all.sample({{"type", key.first}, {"result", key.second}}, count);
    one("vorn_onu_omci_repeated_requests_total", "Messages of the OLT that came once more and got the answer again.",
        repeated_);
    all.counter("vorn_onu_omci_autonomous_messages_total", "Messages that the ONU has sent by itself, by type.");
    for (const auto& [type, count] : autonomous_) all.sample({{"type", type}}, count);
    all.histogram("vorn_onu_omci_answer_duration_seconds",
                  "From the moment at which a message of the OLT was read to that at which its answer was sent.",
                  durations_);
    all.counter("vorn_onu_omci_dropped_datagrams_total", "Datagrams that were not taken as messages, by reason.");
    for (const auto& [reason, count] :
         {std::make_pair("no_message", gate.badFrames), std::make_pair("other_size", gate.otherForms),
          std::make_pair("wrong_integrity_code", gate.wrongCodes), std::make_pair("other_sender", ofOthers)})
        all.sample({{"reason", reason}}, count);
    one("vorn_onu_omci_faulty_answers_total", "Answers that a fault which was asked for has met.", faults_);
    one("vorn_onu_omci_problems_total", "What an OLT has asked for and the HAL cannot do.", problems_);
    std::uint64_t fromOlt = 0, fromOnu = 0;
    for (const omci::ClassInfo& info : omci::managedEntities())
        for (const auto& [instance, entity] : mib.instances(info.id()))
            ++(entity.maker() == omci::Maker::kOlt ? fromOlt : fromOnu);
    all.gauge("vorn_onu_omci_mib_entities", "Managed entities in the MIB, by who has created them.");
    all.sample({{"maker", "olt"}}, fromOlt);
    all.sample({{"maker", "onu"}}, fromOnu);
    const omci::Entity* data = mib.find(omci::class_id::kOnuData, 0);
    all.gauge("vorn_onu_omci_mib_data_sync", "The MIB data sync counter of ONU data.");
    all.sample({}, std::uint64_t{data == nullptr ? 0U : data->number8(omci::attr::onu_data::kMibDataSync)});
    return all;
}

}  // namespace vorn_onu
