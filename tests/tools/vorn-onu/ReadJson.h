// A file of JSON that a program has left.
#ifndef TESTS_READ_JSON_H
#define TESTS_READ_JSON_H

#include <algorithm>
#include <string>

#include <nlohmann/json.hpp>

#include "tools/vorn-onu/RunProgram.h"

// Discarded when the file holds no JSON.
inline nlohmann::json readJson(const std::string& path) {
    return nlohmann::json::parse(contentOf(path), nullptr, false);
}

// In the state of a device.
inline bool hasDevice(const nlohmann::json& state, const std::string& name) {
    if (!state.is_object()) return false;
    const auto& all = state.at("network").at("devices");
    return std::any_of(all.begin(), all.end(), [&](const auto& one) { return one.at("name") == name; });
}

#endif
