#include "omci/services/Apart.h"

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

std::string apart(const std::function<std::string()>& work) {
    int ends[2];
    if (pipe(ends) != 0) return "";
    const pid_t child = fork();
    if (child == 0) {
        const int nowhere = ::open("/dev/null", O_WRONLY);
        dup2(nowhere, STDOUT_FILENO);
        const std::string text = work();
        for (std::size_t at = 0; at < text.size();) {
            const ssize_t done = write(ends[1], text.data() + at, text.size() - at);
            if (done <= 0) break;
            at += static_cast<std::size_t>(done);
        }
        _exit(0);  // the library's threads live as long as the process
    }
    close(ends[1]);
    std::string text;
    char part[4096];
    for (ssize_t got = 0; (got = read(ends[0], part, sizeof part)) > 0;)
        text.append(part, static_cast<std::size_t>(got));
    close(ends[0]);
    int status = 0;
    waitpid(child, &status, 0);
    return WIFEXITED(status) && WEXITSTATUS(status) == 0 ? text : "";
}
