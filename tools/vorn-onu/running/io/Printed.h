// Text on its way to somebody's eyes. Titles, names and serial numbers come from files and devices: a control character
// in them could clear the screen, move the cursor, or turn the reading direction so that a line says something else.
#ifndef VORN_ONU_PRINTED_H
#define VORN_ONU_PRINTED_H

#include <string>

#include <nlohmann/json_fwd.hpp>

namespace vorn_onu {

// The text as it goes to a terminal or a file for people. Line ends and tabs stay, painted parts get their colours;
// every other control character (C0, DEL, C1), what turns the direction of text, further line separators and bytes that
// are no UTF-8 show as "\x1b", "\u202e". Every output of the tool passes here, in Output.h.
std::string printable(const std::string& text);

// The same without colours, for files.
std::string unpainted(const std::string& text);
// The same for what must be one line: a title, a name, a message. Line ends and tabs show as "\n" and "\t".
std::string oneLine(const std::string& text);
// All texts in the value, keys too.
nlohmann::json oneLines(const nlohmann::json& value);

// The text in a colour or weight, the number of an SGR sequence such as "31": marked so that printable() knows the mark
// for the tool's own, with a number that this process has drawn.
std::string painted(const char* code, const std::string& text);

}  // namespace vorn_onu

#endif
