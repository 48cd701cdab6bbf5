// A browser without a window, asked over a pipe by its developers' protocol.
#ifndef TESTS_PAGE_BROWSER_H
#define TESTS_PAGE_BROWSER_H

#include <fcntl.h>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <stdexcept>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include "support/Wait.h"
#include "tools/vorn-onu/RunProgram.h"

class Browser {
public:
    using json = nlohmann::json;

    // The program, "" where none is installed.
    static std::string program() {
        const std::string names = "command -v chromium || command -v chromium-browser || command -v google-chrome";
        const std::string found = runProgram({"sh", "-c", names}).output;
        return found.substr(0, found.find('\n'));
    }

    // profile: a directory that is the browser's own.
    explicit Browser(const std::string& profile) {
        int down[2], up[2];
        if (pipe2(down, O_CLOEXEC) != 0 || pipe2(up, O_CLOEXEC) != 0) throw std::runtime_error("no pipe");
        child_ = fork();
        if (child_ == 0) start(profile, down[0], up[1]);
        close(down[0]);
        close(up[1]);
        to_ = down[1];
        from_ = up[0];
        const json page = call("Target.createTarget", {{"url", "about:blank"}});
        session_ = call("Target.attachToTarget", {{"targetId", page["targetId"]}, {"flatten", true}})["sessionId"];
        for (const char* domain : {"Page.enable", "Runtime.enable", "Log.enable", "Accessibility.enable"})
            call(domain, json::object());
    }
    ~Browser() {
        kill(-child_, SIGKILL);
        waitpid(child_, nullptr, 0);
        close(to_);
        close(from_);
    }
    Browser(const Browser&) = delete;
    Browser& operator=(const Browser&) = delete;

    // The result. Throws std::runtime_error.
    json call(const std::string& method, const json& parameters) {
        json message = {{"id", ++id_}, {"method", method}, {"params", parameters}};
        if (!session_.empty()) message["sessionId"] = session_;
        const std::string text = message.dump() + '\0';
        if (write(to_, text.data(), text.size()) != static_cast<ssize_t>(text.size()))
            throw std::runtime_error("the browser is gone");
        while (true) {
            json answer = next();
            if (answer.value("id", 0) != id_) {
                note(answer);
            } else if (answer.contains("error")) {
                throw std::runtime_error(method + ": " + answer["error"].dump());
            } else {
                return answer["result"];
            }
        }
    }
    // The value of an expression of the page's script.
    json value(const std::string& expression) {
        const json answer =
            call("Runtime.evaluate", {{"expression", expression}, {"awaitPromise", true}, {"returnByValue", true}});
        if (answer.contains("exceptionDetails")) throw std::runtime_error(answer["exceptionDetails"].dump());
        return answer["result"].value("value", json());
    }
    // False when it hangs.
    bool becomes(const std::string& expression) {
        return becomesTrue([&] { return value("Boolean(" + expression + ")") == true; });
    }
    void open(const std::string& link) { call("Page.navigate", {{"url", link}}); }
    void press(const std::string& key, int code, const std::string& text) {
        for (const char* type : {"keyDown", "keyUp"}) {
            json event = {{"type", type}, {"key", key}, {"code", key}, {"windowsVirtualKeyCode", code}};
            if (std::string(type) == "keyDown" && !text.empty()) event["text"] = text;
            call("Input.dispatchKeyEvent", event);
        }
    }
    void resize(int width, const std::string& scheme) {
        call("Emulation.setDeviceMetricsOverride",
             {{"width", width}, {"height", 900}, {"deviceScaleFactor", 1}, {"mobile", false}});
        call("Emulation.setEmulatedMedia", {{"features", {{{"name", "prefers-color-scheme"}, {"value", scheme}}}}});
    }
    // Mistakes of the script, and what the page's own rules have forbidden.
    const std::vector<std::string>& complaints() const { return complaints_; }
    // Of a test that lets the page ask in vain.
    void forgetComplaints() { complaints_.clear(); }

private:
    [[noreturn]] static void start(const std::string& profile, int in, int out) {
        setpgid(0, 0);
        prctl(PR_SET_PDEATHSIG, SIGKILL);
        const int first = fcntl(in, F_DUPFD, 10), second = fcntl(out, F_DUPFD, 10);
        const int silence = ::open("/dev/null", O_WRONLY);
        dup2(silence, STDERR_FILENO);
        dup2(silence, STDOUT_FILENO);
        dup2(first, 3);
        dup2(second, 4);
        const std::string file = program(), folder = "--user-data-dir=" + profile;
        // A container has no rights for the browser's own sandbox; the page is the only one that it sees.
        execl(file.c_str(), file.c_str(), "--headless=new", "--no-sandbox", "--disable-gpu", "--disable-dev-shm-usage",
              "--no-first-run", "--disable-background-networking", "--disable-component-update", "--disable-sync",
              "--remote-debugging-pipe", folder.c_str(), "about:blank", nullptr);
        _exit(127);
    }
    json next() {
        std::size_t end = 0;
        while ((end = got_.find('\0')) == std::string::npos) {
            pollfd one{from_, POLLIN, 0};
            char bytes[65536];
            const ssize_t count = poll(&one, 1, kHangMs) > 0 ? read(from_, bytes, sizeof bytes) : 0;
            if (count <= 0) throw std::runtime_error("the browser does not answer");
            got_.append(bytes, static_cast<std::size_t>(count));
        }
        json message = json::parse(got_.substr(0, end));
        got_.erase(0, end + 1);
        return message;
    }
    void note(const json& event) {
        const std::string method = event.value("method", "");
        if (method == "Runtime.exceptionThrown" || method == "Log.entryAdded")
            complaints_.push_back(event["params"].dump());
    }
    pid_t child_ = -1;
    int to_ = -1, from_ = -1, id_ = 0;
    std::string session_, got_;
    std::vector<std::string> complaints_;
};

#endif
