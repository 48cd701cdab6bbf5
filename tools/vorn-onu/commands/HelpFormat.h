// The words of --help, no wider than the window.
#ifndef VORN_ONU_HELP_FORMAT_H
#define VORN_ONU_HELP_FORMAT_H

#include <memory>

namespace CLI {
class FormatterBase;
}  // namespace CLI

namespace vorn_onu {

// CLI11's own, but for lines that the window would break, and for what an option needs or takes: its description says
// so.
std::shared_ptr<CLI::FormatterBase> helpFormat();

}  // namespace vorn_onu

#endif
