// The file of a run that goes on: rewritten by a thread of its own, so that whoever answers messages never waits.
#ifndef VORN_ONU_STATE_WRITER_H
#define VORN_ONU_STATE_WRITER_H

#include <condition_variable>
#include <functional>
#include <mutex>
#include <string>
#include <thread>

namespace vorn_onu {

class StateWriter {
public:
    // Makes a text of what was there at the moment it was made. Called on the writer's thread.
    using Text = std::function<std::string()>;

    explicit StateWriter(std::string path);  // "" writes nothing
    ~StateWriter();                          // what is being written is written whole
    StateWriter(const StateWriter&) = delete;
    StateWriter& operator=(const StateWriter&) = delete;

    // Takes the text's place of one that waits. The file is whole at any moment: the new one is put in its place.
    // Throws a FileProblem for the one before.
    void write(Text text);

private:
    void work();

    std::string path_, problem_;
    std::mutex mutex_;
    std::condition_variable news_;
    Text waiting_;
    bool ending_ = false;
    std::thread thread_;
};

}  // namespace vorn_onu

#endif
