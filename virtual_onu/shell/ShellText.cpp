#include "shell/ShellText.h"

#include <cctype>

namespace virtual_onu::shell {
namespace {

struct Token {
    bool isOperator = false;
    std::string text;
};

constexpr char kOperatorCharacters[] = ";&|<>";
constexpr char kUnsupported[] = "$`()";

bool isOneOf(char c, const char* set) {
    return std::string(set).find(c) != std::string::npos;
}

class Reader {
public:
    explicit Reader(const std::string& text) : text_(text) {}

    // False for a text outside the supported part of the language.
    bool tokens(std::vector<Token>& tokens) {
        while (at_ < text_.size()) {
            const char c = text_[at_];
            if (c == '\n') {
                tokens.push_back({true, ";"});
                ++at_;
            } else if (std::isspace(static_cast<unsigned char>(c)) != 0) {
                ++at_;
            } else if (c == '#') {
                at_ = text_.find('\n', at_);
                if (at_ == std::string::npos) return true;
            } else if (isOneOf(c, kOperatorCharacters)) {
                tokens.push_back({true, operatorText()});
            } else if (!word(tokens)) {
                return false;
            }
        }
        return true;
    }

private:
    std::string operatorText() {
        const char c = text_[at_++];
        const bool doubled = at_ < text_.size() && text_[at_] == c && c != ';' && c != '<';
        if (doubled) ++at_;
        std::string result(doubled ? 2 : 1, c);
        // ">&1" is one operator with its target.
        if (result == ">" && at_ < text_.size() && text_[at_] == '&') {
            result += text_[at_++];
            while (at_ < text_.size() && std::isdigit(static_cast<unsigned char>(text_[at_])) != 0) {
                result += text_[at_++];
            }
        }
        return result;
    }

    bool word(std::vector<Token>& tokens) {
        Token token;
        while (at_ < text_.size()) {
            const char c = text_[at_];
            if (std::isspace(static_cast<unsigned char>(c)) != 0 || isOneOf(c, kOperatorCharacters)) break;
            if (isOneOf(c, kUnsupported)) return false;
            if (c == '\'' || c == '"') {
                if (!quoted(token.text)) return false;
                continue;
            }
            if (c == '\\' && ++at_ == text_.size()) return false;
            token.text += text_[at_++];
        }
        // A number right before a redirection names the descriptor: 2>/dev/null.
        const bool number = token.text.size() == 1 && std::isdigit(static_cast<unsigned char>(token.text[0])) != 0;
        if (number && at_ < text_.size() && (text_[at_] == '>' || text_[at_] == '<')) {
            tokens.push_back({true, token.text + operatorText()});
        } else {
            tokens.push_back(std::move(token));
        }
        return true;
    }

    bool quoted(std::string& into) {
        const char quote = text_[at_++];
        while (at_ < text_.size() && text_[at_] != quote) {
            if (quote == '"' && isOneOf(text_[at_], "$`")) return false;
            if (quote == '"' && text_[at_] == '\\' && at_ + 1 < text_.size() && isOneOf(text_[at_ + 1], "\"\\$`"))
                ++at_;
            into += text_[at_++];
        }
        if (at_ == text_.size()) return false;
        ++at_;
        return true;
    }

    const std::string& text_;
    std::size_t at_ = 0;
};

// The redirection that an operator begins; nothing for other operators.
std::optional<Redirection> redirection(const std::string& text) {
    const bool named = std::isdigit(static_cast<unsigned char>(text[0])) != 0;
    const std::string sign = named ? text.substr(1) : text;
    Redirection result;
    if (sign == "<") {
        result.input = true;
        result.descriptor = 0;
    } else if (sign == ">>") {
        result.append = true;
    } else if (sign.compare(0, 2, ">&") == 0) {
        result.target = sign.substr(1);
    } else if (sign != ">") {
        return std::nullopt;
    }
    if (named) result.descriptor = text[0] - '0';
    return result;
}

class Builder {
public:
    std::optional<std::vector<Pipeline>> build(const std::vector<Token>& tokens) {
        for (std::size_t i = 0; i < tokens.size(); ++i) {
            if (!tokens[i].isOperator) {
                command().words.push_back(tokens[i].text);
                continue;
            }
            auto redirected = redirection(tokens[i].text);
            if (!redirected) {
                if (!join(tokens[i].text)) return std::nullopt;
                continue;
            }
            if (redirected->target.empty()) {
                if (i + 1 == tokens.size() || tokens[i + 1].isOperator) return std::nullopt;
                redirected->target = tokens[++i].text;
            }
            command().redirections.push_back(*redirected);
        }
        if (wantsMore_ || (open_ && command().words.empty())) return std::nullopt;
        return std::move(list_);
    }

private:
    Command& command() {
        if (!open_) {
            list_.emplace_back();
            list_.back().control = control_;
            list_.back().commands.emplace_back();
            open_ = true;
            wantsMore_ = false;
        }
        return list_.back().commands.back();
    }

    // Ends the command before an operator; false where there is none to end.
    bool join(const std::string& sign) {
        if (!open_ || command().words.empty()) return sign == ";" && !wantsMore_;
        if (sign == "|") {
            list_.back().commands.emplace_back();
            return true;
        }
        open_ = false;
        list_.back().background = sign == "&";
        control_ = sign == "&&"   ? ControlOperator::AfterSuccess
                   : sign == "||" ? ControlOperator::AfterFailure
                                  : ControlOperator::Always;
        wantsMore_ = control_ != ControlOperator::Always;
        return sign == ";" || sign == "&" || sign == "&&" || sign == "||";
    }

    std::vector<Pipeline> list_;
    ControlOperator control_ = ControlOperator::Always;
    bool open_ = false;
    bool wantsMore_ = false;
};

}  // namespace

std::optional<std::vector<Pipeline>> parse(const std::string& text) {
    std::vector<Token> tokens;
    if (!Reader(text).tokens(tokens)) return std::nullopt;
    return Builder().build(tokens);
}

}  // namespace virtual_onu::shell
