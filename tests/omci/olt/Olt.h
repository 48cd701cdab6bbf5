// An OLT, as far as a test needs one: it provisions, knows what it has asked for, and reads it back.
#ifndef TESTS_OMCI_OLT_OLT_H
#define TESTS_OMCI_OLT_OLT_H

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "omci/message/Contents.h"
#include "omci/olt/Line.h"
#include "omci/olt/Request.h"

namespace olt {

class Olt {
public:
    explicit Olt(Line& line, omci::MessageSet set = omci::MessageSet::kBaseline) : line_(line), set_(set) {}

    // Each answers the ONU's result; "processing error" where no answer came.
    omci::Result send(const Request& request);
    omci::Result mibReset();
    // Sends all of them and answers the text of what went wrong, "" when nothing did.
    std::string send(const Requests& requests);

    // The ONU's data sync counter, and what it has to be.
    std::optional<unsigned> dataSync();
    unsigned expectedDataSync() const { return sync_; }

    // Reads the MIB by upload, and by get and get next what the upload leaves out. A line for each difference to what
    // was asked for: entities that are missing or too many, attributes with other values.
    std::vector<std::string> differences();
    // The entities that the OLT has made and not deleted.
    const std::map<EntityKey, std::map<AttributeNumber, Bytes>>& expected() const { return expected_; }
    // The requests that delete them.
    Requests removal() const;

private:
    omci::Message message(omci::MessageType type, EntityKey entity);
    template <class Answer>
    std::optional<Answer> ask(omci::Message request, const omci::Content& content);
    template <class Answer>
    omci::Result resultOf(omci::Message request, const omci::Content& content);
    void remember(const Request& request);
    void rememberRow(std::map<AttributeNumber, Bytes>& values, const Request& request, const Value& value);
    std::map<EntityKey, std::map<AttributeNumber, Bytes>> upload();
    std::optional<Bytes> read(EntityKey entity, AttributeNumber attribute);
    std::optional<Bytes> readTable(EntityKey entity, AttributeNumber attribute);

    Line& line_;
    omci::MessageSet set_;
    std::uint16_t transaction_ = 0;
    unsigned sync_ = 0;
    std::map<EntityKey, std::map<AttributeNumber, Bytes>> expected_;  // of tables the rows one behind the other
};

}  // namespace olt

#endif
