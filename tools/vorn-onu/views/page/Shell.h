// What of the page stays while the board changes: its frame, with places for the parts and with the forms.
#ifndef VORN_ONU_PAGE_SHELL_H
#define VORN_ONU_PAGE_SHELL_H

#include <string>

namespace vorn_onu::page {

// A number for one answer, by which the page's own script and style are known.
std::string newNonce();
// The header Content-Security-Policy: nothing but the page's own script and style, and no framing.
std::string policyOf(const std::string& nonce);
std::string shellPage(const std::string& board, const std::string& nonce);
// The report's look and the page's own.
std::string pageStyle();

}  // namespace vorn_onu::page

#endif
