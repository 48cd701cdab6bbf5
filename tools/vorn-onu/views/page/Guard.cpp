#include "views/page/Guard.h"

#include <sys/random.h>

#include <array>
#include <stdexcept>

#include "HexDigits.h"

namespace vorn_onu::page {

namespace {

std::string newToken() {
    std::array<unsigned char, 16> bytes{};
    if (getrandom(bytes.data(), bytes.size(), 0) != static_cast<ssize_t>(bytes.size()))
        throw std::runtime_error("no random numbers for a token");
    return virtual_onu::hexText(bytes);
}

// In a time that does not tell where they differ.
bool areSame(const std::string& one, const std::string& other) {
    if (one.size() != other.size()) return false;
    unsigned differ = 0;
    for (std::size_t i = 0; i < one.size(); ++i)
        differ |= static_cast<unsigned char>(one[i]) ^ static_cast<unsigned char>(other[i]);
    return differ == 0;
}

}  // namespace

Guard::Guard(int port) : port_(std::to_string(port)), token_(newToken()) {}

bool Guard::isOwn(const std::string& host) const {
    for (const std::string name : {"127.0.0.1", "localhost"})
        if (host == name + ":" + port_ || (port_ == "80" && host == name)) return true;
    return false;
}

std::string Guard::lookRefusal(const Asking& asking) const {
    // A name of somebody else's that leads to this address: the browser takes the page for that site's.
    if (!asking.host || !isOwn(*asking.host))
        return "this page is http://127.0.0.1:" + port_ + " and has no other name";
    const std::string scheme = "http://";
    if (asking.origin &&
        (asking.origin->compare(0, scheme.size(), scheme) != 0 || !isOwn(asking.origin->substr(scheme.size()))))
        return "another page asks";
    if (asking.site && *asking.site != "same-origin" && *asking.site != "none" && !asking.navigates)
        return "another page asks";
    return "";
}

std::string Guard::changeRefusal(const Asking& asking) const {
    if (const std::string why = lookRefusal(asking); !why.empty()) return why;
    if (!asking.token) return "what changes something needs the token of the link that vorn-onu has printed";
    if (!areSame(*asking.token, token_))
        return "the token is not the one of the link that vorn-onu has printed; where it was started again, open the "
               "new link";
    return "";
}

}  // namespace vorn_onu::page
