// What programs do and what stands in the way of a virtual ONU inside of them.
#include <fcntl.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/time.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <string>
#include <thread>
#include <vector>

#include "daemon/Modes.h"
#include "hal/ProvisioningRecords.h"
#include "platform/kit_numbers.h"
#include "support/InternetService.h"

namespace {

using test_daemon::hal;

[[noreturn]] void fail(const char* what) {
    std::fprintf(stderr, "awkward: %s\n", what);
    std::exit(1);
}

std::string contentOf(const std::string& path) {
    std::ifstream file(path);
    return {std::istreambuf_iterator<char>(file), {}};
}

// Until the state file of this run tells of the device.
void waitForState(const std::string& device) {
    const std::string wanted = "\"name\": \"" + device + "\"";
    while (contentOf(std::getenv("VORN_ONU_STATE")).find(wanted) == std::string::npos)
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
}

// ---- descriptors ----

// Closes all that it does not know, as daemons do, and has every number taken by a file of its own.
void closeAll(const std::string& own) {
    hal().vorn_omci_hal_configureBridge(3, 0);
    constexpr int kMaxCount = 5000;
    for (int fd = 3; fd < kMaxCount; ++fd) close(fd);
    const int file = open(own.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
    for (int fd = file + 1; fd < kMaxCount; ++fd)
        if (dup2(file, fd) < 0) break;
    hal().vorn_omci_hal_configureBridge(4, 0);
    struct stat found {};
    if (fstat(file, &found) != 0 || found.st_size != 0) fail("something was written to the program's own file");
}

bool laserAnswers(int fd) {
    std::uint16_t level = 0;
    return ioctl(fd, LASER_IOC_GET_RX_POWER, &level) == 0 && level != 0;
}

#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wdeprecated-declarations"
// The child closes its own descriptor, in its parent's memory.
void closeInVforkedChild() {
    const int laser = open(LASER_DEVICE, O_RDONLY);
    const pid_t child = vfork();
    if (child == 0) {
        close(laser);
        _exit(0);
    }
    waitpid(child, nullptr, 0);
    if (!laserAnswers(laser)) fail("the parent's descriptor no longer leads to the device");
}
#pragma GCC diagnostic pop

void closeRange(const std::string& way, int fd) {
    const auto number = static_cast<unsigned>(fd);
    if (way == "function") close_range(number, number, 0);
    if (way == "system call") syscall(SYS_close_range, number, number, 0);
    if (way == "closefrom") closefrom(fd);
}

constexpr const char* kDeviceFile = "/var/mcpd.conf";

// A file of the program's own that has the number of the device's, which was closed. -1: another thread's has it.
int takeNumber(const std::string& own, const std::string& way) {
    const int device = open(kDeviceFile, O_WRONLY | O_CREAT | O_TRUNC, 0644);
    if (write(device, "device", 6) != 6) fail("the device's file cannot be written");
    closeRange(way, device);
    const int file = open(own.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
    if (file == device) return file;
    close(file);
    return -1;
}

// The device's number is closed somehow and given to a file of the program's own.
void reuseNumbers(const std::string& own) {
    for (const char* way : {"function", "system call", "closefrom"}) {
        int file = -1;
        for (int tries = 0; tries < 1000 && file < 0; ++tries) file = takeNumber(own, way);
        if (file < 0) fail("the number is not taken again");
        if (write(file, "own", 3) != 3) fail("not the program's file");
        close(file);
        if (contentOf(own) != "own") fail("the program's own file is another one");
        if (contentOf(kDeviceFile) != "device") fail(way);
    }
    int copies[3];
    const int laser = open(LASER_DEVICE, O_RDONLY);
    copies[0] = dup(laser);
    copies[1] = dup3(laser, 200, O_CLOEXEC);
    copies[2] = fcntl(laser, F_DUPFD, 300);
    close(laser);
    for (const int copy : copies)
        if (!laserAnswers(copy)) fail("a copy does not lead to the device");
}

// ---- signals ----

std::atomic<int> handled{0};
void onAlarm(int) {
    const int saved = errno;
    const int fd = open("/etc/hostname", O_RDONLY);
    struct stat found {};
    stat("/etc/hostname", &found);
    access("/etc/nothing", R_OK);
    unlink("/tmp/no/such/file");
    dup2(fd, fd);
    const int socketFd = socket(AF_INET, SOCK_DGRAM, 0);
    close(socketFd);
    close(fd);
    ++handled;
    errno = saved;
}

// A handler that works with files while the program allocates and calls the device.
void handleWithFiles() {
    hal();
    struct sigaction action {};
    action.sa_handler = onAlarm;
    action.sa_flags = SA_RESTART;
    sigaction(SIGALRM, &action, nullptr);
    const itimerval often{{0, 300}, {0, 300}};
    setitimer(ITIMER_REAL, &often, nullptr);
    std::vector<std::string> texts;
    while (handled < 500) {
        texts.assign(50, std::string(100 + static_cast<std::size_t>(handled % 100), 'x'));
        const int laser = open(LASER_DEVICE, O_RDONLY);
        if (!laserAnswers(laser)) fail("the laser does not answer");
        close(laser);
    }
    const itimerval never{};
    setitimer(ITIMER_REAL, &never, nullptr);
}

// ---- processes ----

// A helper that never calls the HAL ends after the parent has gone on.
void forkHelper() {
    hal().vorn_omci_hal_configureBridge(3, 0);
    int pipeEnds[2];
    if (pipe(pipeEnds) != 0) fail("no pipe");
    const pid_t child = fork();
    if (child == 0) {
        char one = 0;
        std::exit(read(pipeEnds[0], &one, 1) == 1 ? 0 : 1);
    }
    hal().vorn_omci_hal_configureBridge(4, 0);
    waitForState("br4");
    if (write(pipeEnds[1], "x", 1) != 1) fail("no helper");
    waitpid(child, nullptr, 0);
    std::raise(SIGKILL);  // whatever the helper left in the file stays there
}

// Parent and child both go on: two boards.
void forkAndGoOn() {
    hal().vorn_omci_hal_configureBridge(3, 0);
    const pid_t child = fork();
    hal().vorn_omci_hal_configureBridge(child == 0 ? 5 : 4, 0);
    int status = 0;
    if (child != 0 && (waitpid(child, &status, 0) != child || status != 0)) fail("the child did not end well");
}

// The parent provisions and ends after its child has begun to go on: one board.
void moveIntoChild() {
    hal().vorn_omci_hal_configureBridge(3, 0);
    const pid_t child = fork();
    if (child == 0) {
        hal().vorn_omci_hal_configureBridge(4, 0);
        waitForState("br4");
        std::_Exit(0);
    }
    waitpid(child, nullptr, 0);
}

// An IP host announces itself.
void sendFrames() {
    hal().vorn_omci_hal_configureBridge(3, 0);
    IpHostProvision host = internet_service::ipHost(2);
    hal().vorn_omci_hal_provisionIpHost(&host);
}

void changeUser() {
    hal().vorn_omci_hal_configureBridge(3, 0);
    waitForState("br3");
    if (setgid(65534) != 0 || setuid(65534) != 0) fail("cannot become another user");
    hal().vorn_omci_hal_configureBridge(4, 0);
}

}  // namespace

int test_daemon::behaveAwkwardly(const std::string& mode, const std::string& own) {
    if (mode == "close-all") closeAll(own);
    if (mode == "vfork") closeInVforkedChild();
    if (mode == "numbers") reuseNumbers(own);
    if (mode == "handler") handleWithFiles();
    if (mode == "helper") forkHelper();
    if (mode == "two-boards") forkAndGoOn();
    if (mode == "moves") moveIntoChild();
    if (mode == "frames") sendFrames();
    if (mode == "user") changeUser();
    return 0;
}
