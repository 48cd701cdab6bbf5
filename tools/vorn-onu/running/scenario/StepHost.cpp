#include "running/scenario/StepHost.h"

#include <unistd.h>

#include <exception>
#include <optional>
#include <stdexcept>
#include <string>
#include <utility>

#include "hal/HALFactory.h"
#include "running/io/WorkDirectory.h"
#include "running/scenario/HalProcess.h"
#include "running/scenario/StepRecord.h"
#include "running/scenario/StepWarnings.h"

namespace vorn_onu {

namespace {

// In this process, and everything else, too.
class InProcessHost : public StepHost {
public:
    InProcessHost()
        : hal_(HALFactory::getInstance()->CreateHALObject(0)), warnings_(virtual_onu::VirtualOnu::instance()) {}
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

// The board of a run, shared by way of its file with the processes of the parts.
class SharedBoard {
public:
    explicit SharedBoard(std::string file) : file_(std::move(file)) {
        if (!file_.empty()) return;
        folder_.emplace("vorn-onu-board");
        file_ = folder_->file("board");
        virtual_onu::VirtualOnu::instance().openBoard(file_, virtual_onu::VirtualOnu::BoardUse::Run);
    }
    ~SharedBoard() { virtual_onu::VirtualOnu::instance().closeBoard(); }
    SharedBoard(const SharedBoard&) = delete;
    SharedBoard& operator=(const SharedBoard&) = delete;
    const std::string& file() const { return file_; }

private:
    std::optional<WorkDirectory> folder_;
    std::string file_;
};

// In a process for each part of the scenario.
class Parts : public StepHost {
public:
    Parts(const Scenario& scenario, const std::string& boardFile)
        : board_(boardFile), process_(scenario, scenario.state ? board_.file() + ".state" : "") {
        process_.begin();
    }

    VornHal* hal() override { return nullptr; }
    Answer run(const Step& step, RunContext& context) override {
        if (step.needsHal) return process_.run(step);
        if (!step.restart) return {runHere(step, context), {}};
        process_.end(*step.restart);
        Answer answer;
        try {
            answer.result.answer = process_.begin();
        } catch (const std::exception& error) {
            answer.result.failures.push_back({"the HAL's process", {"restarts"}, {error.what()}});
        }
        return answer;
    }

private:
    SharedBoard board_;
    HalProcess process_;
};

}  // namespace

std::unique_ptr<StepHost> stepHostFor(const Scenario& scenario, const std::string& boardFile) {
    if (scenario.inParts) return std::make_unique<Parts>(scenario, boardFile);
    return std::make_unique<InProcessHost>();
}

}  // namespace vorn_onu
