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

#include "libc/program/Unsaved.h"
#include "running/program/HalOutput.h"

namespace vorn_onu {

namespace {

using virtual_onu::unsaved::kMaxProcesses;
using UnsavedSlot = virtual_onu::unsaved::ProcessSlot;

std::optional<BoardOwner> ownerIn(const std::string& path) {
    std::ifstream file(path);
    const auto text = nlohmann::json::parse(file, nullptr, false);
    if (!text.is_object()) return std::nullopt;
    return BoardOwner{text.value("process", 0), text.value("program", "")};
}

}  // namespace

RunFolder::RunFolder() : path_(ownDirectory() + "/exec-XXXXXX") {
    if (mkdtemp(path_.data()) == nullptr) throw std::runtime_error(path_ + ": " + std::strerror(errno));
    std::ofstream(file("unsaved")) << std::string(kMaxProcesses * sizeof(UnsavedSlot), '\0');
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

std::map<pid_t, std::uint32_t> RunFolder::unwritten() const {
    std::map<pid_t, std::uint32_t> found;
    std::ifstream page(file("unsaved"), std::ios::binary);
    for (UnsavedSlot slot{}; page.read(reinterpret_cast<char*>(&slot), sizeof slot);)
        if (slot.process != 0 && (kill(slot.process, 0) == 0 || errno != ESRCH)) found[slot.process] = slot.written;
    return found;
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
