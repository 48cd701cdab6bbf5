#include "commands/LogOptions.h"

#include <CLI/CLI.hpp>

namespace vorn_onu {

void addLogOptions(CLI::App& command, const LogWords& words, const std::string& condition, CLI::Option* needed) {
    const auto with = [needed](CLI::Option* option) {
        if (needed != nullptr) option->needs(needed);
        return option;
    };
    with(command.add_flag("-v,--values", words.values, condition + "attributes as well"));
    with(command.add_flag("-x,--bytes", words.bytes, condition + "bytes in hexadecimal digits with their offsets"));
    const auto only = [&](const char* name, std::vector<std::string>& chosen, const char* what, const char* type) {
        with(command.add_option(name, chosen, condition + what)
                 ->type_name(type)
                 ->expected(1)
                 ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll));
    };
    only("--class", words.classes, "only messages about entities of this class", "NUMBER");
    only("--instance", words.instances, "only messages about this instance", "NUMBER");
    only("--type", words.types, "only these messages, as they are named: set, \"MIB upload next\"", "NAME");
}

}  // namespace vorn_onu
