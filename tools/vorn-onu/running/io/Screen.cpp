#include "running/io/Screen.h"

#include <poll.h>
#include <sys/ioctl.h>
#include <sys/signalfd.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <stdexcept>

#include "running/io/AwaitedSignals.h"
#include "running/io/Output.h"
#include "running/io/Printed.h"

namespace vorn_onu {

namespace {

constexpr const char* kTakeOver = "\x1b[?1049h\x1b[?25l";  // the other screen, no cursor
constexpr const char* kGiveBack = "\x1b[?25h\x1b[?1049l";
constexpr const char* kTop = "\x1b[H";
constexpr const char* kRestOfLine = "\x1b[K";
constexpr const char* kRestOfScreen = "\x1b[J";
constexpr char kCtrlC = 3;

// The tool's own sequences, which print() would show as text.
void put(const std::string& text) {
    std::fputs(text.c_str(), stdout);
    std::fflush(stdout);
}

}  // namespace

Screen::Screen() {
    if (isatty(STDIN_FILENO) != 1 || isatty(STDOUT_FILENO) != 1)
        throw std::runtime_error("a terminal is needed for this");
    if (tcgetattr(STDIN_FILENO, &before_) != 0)
        throw std::runtime_error("the terminal cannot be asked for its settings");
    const sigset_t awaited = blockSignals({SIGINT, SIGTERM, SIGHUP, SIGQUIT, SIGWINCH}, &signalsBefore_);
    signals_ = signalfd(-1, &awaited, SFD_CLOEXEC | SFD_NONBLOCK);
    termios raw = before_;
    raw.c_lflag &= ~static_cast<tcflag_t>(ICANON | ECHO);
    raw.c_cc[VMIN] = 1;
    raw.c_cc[VTIME] = 0;
    raw.c_cc[VSUSP] = _POSIX_VDISABLE;  // a stopped view would leave the window as it is
    tcsetattr(STDIN_FILENO, TCSANOW, &raw);
    put(kTakeOver);
}

Screen::~Screen() {
    put(kGiveBack);
    tcsetattr(STDIN_FILENO, TCSANOW, &before_);
    if (signals_ >= 0) close(signals_);
    pthread_sigmask(SIG_SETMASK, &signalsBefore_, nullptr);
}

Screen::Size Screen::size() const {
    winsize found{};
    if (ioctl(STDOUT_FILENO, TIOCGWINSZ, &found) != 0 || found.ws_col == 0 || found.ws_row == 0) return {};
    return {found.ws_row, found.ws_col};
}

void Screen::draw(const std::vector<std::string>& lines) const {
    const std::size_t rows = size().rows;
    std::string text = kTop;
    for (std::size_t i = 0; i < lines.size() && i < rows; ++i)
        text += (i == 0 ? "" : "\r\n") + printable(lines[i]) + kRestOfLine;
    put(text + kRestOfScreen);
}

Screen::Event Screen::wait(int milliseconds) {
    pollfd waits[] = {{STDIN_FILENO, POLLIN, 0}, {signals_, POLLIN, 0}};
    if (poll(waits, 2, milliseconds) <= 0) return Event::Nothing;
    if ((waits[1].revents & POLLIN) != 0) {
        signalfd_siginfo signal{};
        if (read(signals_, &signal, sizeof signal) != sizeof signal) return Event::Nothing;
        return signal.ssi_signo == SIGWINCH ? Event::Resized : Event::End;
    }
    const ssize_t count = read(STDIN_FILENO, &key_, 1);
    if (count < 0 && errno == EINTR) return Event::Nothing;
    if (count <= 0 || key_ == kCtrlC) return Event::End;
    return Event::Key;
}

}  // namespace vorn_onu
