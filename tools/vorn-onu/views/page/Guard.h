// Who may ask for the page, and who may change something by it. The page is for this machine's browser alone: another
// web page that the browser shows must get nowhere, neither by a form nor by a name that leads to this address.
#ifndef VORN_ONU_PAGE_GUARD_H
#define VORN_ONU_PAGE_GUARD_H

#include <optional>
#include <string>

namespace vorn_onu::page {

// What a request says of itself; nothing where it has no such header.
struct Asking {
    std::optional<std::string> host, origin, site, token;  // site: Sec-Fetch-Site
    bool navigates = false;                                // a link or the address line leads here
};

class Guard {
public:
    // port: where the page is served. The token is new each time: 128 bits, as 32 hexadecimal digits.
    explicit Guard(int port);
    const std::string& token() const { return token_; }
    // Why not; "" when it may.
    std::string lookRefusal(const Asking& asking) const;
    std::string changeRefusal(const Asking& asking) const;

private:
    bool isOwn(const std::string& host) const;

    std::string port_, token_;
};

}  // namespace vorn_onu::page

#endif
