// The whole window of a terminal, for a view that refreshes; left as it was found.
#ifndef VORN_ONU_SCREEN_H
#define VORN_ONU_SCREEN_H

#include <termios.h>

#include <csignal>
#include <cstddef>
#include <string>
#include <vector>

namespace vorn_onu {

class Screen {
public:
    struct Size {
        std::size_t rows = 24, columns = 80;
    };
    enum class Event { Nothing, Key, Resized, End };  // End: Ctrl-C, or a signal that asks for it

    // Takes the window over, and SIGINT, SIGTERM, SIGHUP, SIGQUIT and SIGWINCH as events. Throws std::runtime_error
    // where standard input or output is no terminal.
    Screen();
    ~Screen();
    Screen(const Screen&) = delete;
    Screen& operator=(const Screen&) = delete;

    Size size() const;
    // Lines from the top; those that do not fit are left out. Lines are no wider than the window.
    void draw(const std::vector<std::string>& lines) const;
    // The next event, or Nothing after so many milliseconds. Nobody takes what is drawn any more: End.
    Event wait(int milliseconds);
    char key() const { return key_; }  // of the last Event::Key

private:
    termios before_{};
    sigset_t signalsBefore_{};
    int signals_ = -1;
    char key_ = 0;
};

}  // namespace vorn_onu

#endif
