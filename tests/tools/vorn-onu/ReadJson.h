// A file of JSON that a program has left.
#ifndef TESTS_READ_JSON_H
#define TESTS_READ_JSON_H

#include <string>

#include <nlohmann/json.hpp>

#include "tools/vorn-onu/RunProgram.h"

// Discarded when the file holds no JSON.
inline nlohmann::json readJson(const std::string& path) {
    return nlohmann::json::parse(contentOf(path), nullptr, false);
}

#endif
