#include "running/program/RunFolder.h"

#include <cerrno>
#include <csignal>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <stdexcept>

#include <nlohmann/json.hpp>

#include "running/program/HalOutput.h"

namespace vorn_onu {

namespace {

// In the page that the processes share: the numbers of those with unsaved changes, 0 for a free place.
constexpr std::size_t kPlaces = 1024;

std::optional<BoardOwner> ownerIn(const std::string& path) {
    std::ifstream file(path);
    const auto text = nlohmann::json::parse(file, nullptr, false);
    if (!text.is_object()) return std::nullopt;
    return BoardOwner{text.value("process", 0), text.value("program", "")};
}

}  // namespace

RunFolder::RunFolder() : path_(ownDirectory() + "/exec-XXXXXX") {
    if (mkdtemp(path_.data()) == nullptr) throw std::runtime_error(path_ + ": " + std::strerror(errno));
    std::ofstream(file("unsaved")) << std::string(kPlaces * sizeof(std::int32_t), '\0');
}

RunFolder::~RunFolder() {
    std::error_code ignored;
    if (!kept_) std::filesystem::remove_all(path_, ignored);
}

std::optional<BoardOwner> RunFolder::shown() const {
    return ownerIn(file("shown"));
}

std::vector<BoardOwner> RunFolder::aside() const {
    std::vector<BoardOwner> owners;
    std::error_code ignored;
    for (const auto& entry : std::filesystem::directory_iterator(path_, ignored)) {
        if (entry.path().filename().string().rfind("board.", 0) != 0) continue;
        if (const auto owner = ownerIn(entry.path())) owners.push_back(*owner);
    }
    return owners;
}

bool RunFolder::isStateBehind() const {
    std::ifstream page(file("unsaved"), std::ios::binary);
    for (std::int32_t process = 0; page.read(reinterpret_cast<char*>(&process), sizeof process);)
        if (process != 0 && (kill(process, 0) == 0 || errno != ESRCH)) return true;
    return false;
}

HalPresence RunFolder::hal() const {
    HalPresence presence;
    std::ifstream file(this->file("hal"));
    for (std::string line; std::getline(file, line);) {
        presence.linked = presence.linked || line == "linked";
        presence.loaded = presence.loaded || line == "loaded";
    }
    return presence;
}

}  // namespace vorn_onu
