#include "scenario/Place.h"

#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <filesystem>
#include <stdexcept>

#include "hal/HALFactory.h"
#include "scenario/HalProcess.h"
#include "scenario/StepWarnings.h"

namespace vorn_onu {

namespace {

// In this process, and everything else, too.
class Here : public Place {
public:
    Here() : hal_(HALFactory::getInstance()->CreateHALObject(0)), warnings_(virtual_onu::VirtualOnu::instance()) {}
    VornHal* hal() override { return hal_; }
    Answer run(const Step& step, RunContext& context) override {
        Answer answer;
        answer.result = runHere(step, context);
        answer.warnings = warnings_.after(step, context.onu);
        return answer;
    }

private:
    VornHal* hal_;
    StepWarnings warnings_;
};

// In a process for each part of the scenario, on a board that they share by way of its file.
class Parts : public Place {
public:
    Parts(const Scenario& scenario, bool newBoard) : process_(scenario) {
        if (newBoard) shareBoard();
        process_.begin();
    }
    ~Parts() override {
        process_.end(Restart::Exit);
        virtual_onu::VirtualOnu::instance().closeBoard();
        std::error_code ignored;
        if (!folder_.empty()) std::filesystem::remove_all(folder_, ignored);
    }
    Parts(const Parts&) = delete;
    Parts& operator=(const Parts&) = delete;

    VornHal* hal() override { return nullptr; }
    Answer run(const Step& step, RunContext& context) override {
        if (step.needsHal) return process_.run(step);
        if (!step.restart) return {runHere(step, context), {}};
        process_.end(*step.restart);
        process_.begin();
        return {};
    }

private:
    void shareBoard() {
        folder_ = (std::filesystem::temp_directory_path() / "vorn-onu-board.XXXXXX").string();
        if (mkdtemp(folder_.data()) == nullptr) throw std::runtime_error(folder_ + ": " + std::strerror(errno));
        virtual_onu::VirtualOnu::instance().openBoard(folder_ + "/board", virtual_onu::VirtualOnu::BoardUse::Run);
    }

    std::string folder_;  // of the board; "" for one that was open already
    HalProcess process_;
};

}  // namespace

std::unique_ptr<Place> placeFor(const Scenario& scenario, bool newBoard) {
    if (scenario.restarts) return std::make_unique<Parts>(scenario, newBoard);
    return std::make_unique<Here>();
}

StepResult runHere(const Step& step, RunContext& context) {
    try {
        return step.run(context);
    } catch (const std::exception& error) {
        StepResult result;
        result.failures.push_back({"the step", {"can be done"}, {error.what()}});
        return result;
    }
}

}  // namespace vorn_onu
