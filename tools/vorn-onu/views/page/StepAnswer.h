// What a step has done, for the page.
#ifndef VORN_ONU_PAGE_STEP_ANSWER_H
#define VORN_ONU_PAGE_STEP_ANSWER_H

#include <string>

#include <nlohmann/json_fwd.hpp>

namespace vorn_onu::page {

// Why the page does not take such a step; "" when it does: a step of one of the kinds that its forms and buttons make.
std::string whyNotTaken(const nlohmann::json& step);
// step: the board's answer, as stepJson() writes it with the path of a frame. "words": one line as plain text; "html":
// of a frame its path, hop by hop, otherwise what went wrong; "passed".
nlohmann::json stepAnswer(const nlohmann::json& step);

}  // namespace vorn_onu::page

#endif
