// The commands of vorn-onu. Each answers the program's exit code.
#ifndef VORN_ONU_COMMANDS_H
#define VORN_ONU_COMMANDS_H

#include <string>
#include <vector>

#include "commands/BoardChoice.h"

namespace vorn_onu {

constexpr int kHeld = 0;      // all expectations held
constexpr int kNotHeld = 1;   // one did not
constexpr int kBadInput = 2;  // a scenario, a file or the command line is wrong; nothing was run

struct RunCommand {
    std::string forwarding;              // "contract" or "g988" (--forwarding); "" where nothing was typed
    std::vector<std::string> scenarios;  // several are run each in a process of its own
    std::string jsonFile;                // "-" is standard output
    std::string reportFile;              // an HTML page
    bool audit = false;                  // the report has a part that compares the device with the standard
    std::string pcapFile;                // the frames of frame steps
    std::string boardFile;               // the board that the scenario begins with, and leaves
    std::string junitFile;               // a test case a scenario, as CI systems read them
    std::size_t jobs = 1;                // of several scenarios, so many at a time
    bool strict = false;                 // a call into the device kit that fails is a failure
    bool trace = false;
    bool halOutput = false;
    bool realTime = false;
    bool quiet = false;
    std::size_t afterStep = 0;      // end behind this step; 0: the last one, with stay the fullest moment
    bool stay = false;              // when the scenario is over the board can be reached until a signal ends it
    std::string name;               // by this name; "" for the scenario's file
    std::string metrics;            // with stay: "PORT" or "ADDRESS:PORT" where its metrics are; "" for none
    std::vector<std::string> taps;  // with stay: "sid0=tap0@customer", ports that are TAPs of the host
    // kBadInput when one scenario could not be run, else kNotHeld when one failed.
    int run() const;
};

// Numbers and words as they were typed; "" where nothing was.
struct TypedTag {
    std::string vlan, pbits, tpid;
    bool dei = false;
};

struct TypedFrame {
    std::string from, etherType, ipProtocol, dscp, source, destination;
    std::vector<TypedTag> tags;  // outermost first
    std::string payload;         // octets behind the type word
    bool bothWays = false;       // send what came out back again
};

struct SendCommand : TypedFrame {
    std::string forwarding;  // as with run
    std::string scenario;
    std::string captureFile;    // frames to send instead of one
    std::string pcapFile;       // what left of them
    std::size_t afterStep = 0;  // 0: the moment at which the device holds most
    bool json = false;
    int run() const;  // kHeld when a copy of the frame leaves the device, kNotHeld when it is dropped
};

// The messages of an OLT, played to an ONU or answered as they come.
struct OmciCommand : TypedFrame {
    std::string forwarding = "g988";  // or "contract" (--forwarding)
    std::string file;                 // a capture, or text with hexadecimal digits
    std::size_t until = 0;            // stop behind this message; 0: none
    std::string jsonFile;             // "-" is standard output
    std::string reportFile;           // an HTML page
    std::string pcapFile;             // the frame of --from
    std::string recordFile;           // the HAL's calls as a scenario
    bool log = false;                 // a line a message
    bool logValues = false, logBytes = false;
    std::vector<std::string> logClasses, logInstances, logTypes;  // only these
    std::string mic;                  // kind of the integrity codes: "crc", "cmac:KEY", "none", "" as they are found
    std::string captureFile;          // with an address: the exchange as a capture
    std::vector<std::string> layout;  // KEY=VALUE or a file: the instance numbers of another ONU
    std::string listenAddress;        // "unix:PATH" or "udp:ADDRESS:PORT"
    std::size_t kept = 0;             // messages, with an address; 0: as many as what is to be written needs
    std::string peer;                 // whose datagrams are taken, of UDP; "": anybody's, on the loopback interface
    BoardChoice board;                // its file with an address only
    std::vector<std::string> taps;    // "sid0=tap0@customer": ports that are TAPs of the host
    bool audit = false;               // compare the device with the standard
    std::string name;                 // with an address: the board can be reached by it; "" where it cannot
    std::string metrics;              // with an address: as with run
    bool quiet = false;               // show what is not as expected only
    bool strict = false;              // a refusal counts even where the capture has the same
    // kNotHeld when a message was refused, an answer has another result than the capture's, a call of the HAL failed,
    // or the frame is dropped.
    int run() const;
};

struct ExecCommand {
    std::string forwarding = "contract";  // or "g988" (--forwarding)
    std::vector<std::string> program;     // and its arguments
    std::string traceFile;                // "-" is standard output, here and for the next
    std::string jsonFile;
    std::string recordFile;
    std::string reportFile;         // an HTML page
    std::string pcapFile;           // the frames that the program has sent
    std::string halOutput;          // where what the HAL prints goes: "" a log file, "-" standard output
    std::string name;               // the board can be reached by it while the program runs; "" where it cannot
    std::string metrics;            // with a name: as with run
    std::vector<std::string> taps;  // as with omci
    BoardChoice board;              // that the program finds, and leaves in its file
    bool quiet = false;
    // The program's own exit code; 128 and the signal's number when a signal ended it.
    int run() const;
};

struct DiffCommand {
    std::string before, after;  // files that --json has written
    bool json = false;
    int run() const;  // kHeld: no difference; kNotHeld: there are some
};

// The device beside the standard.
struct AuditCommand {
    std::string forwarding;  // as with run
    std::string scenario;
    std::size_t afterStep = 0;  // 0: the moment at which the device holds most
    bool strict = false;        // a difference is a failure
    bool json = false;
    int run() const;  // kNotHeld when something differs and strict is set
};

// What the HAL reports of the board: a new one, or one that a scenario has set up.
struct InfoCommand {
    std::string scenario;  // "": a new board
    bool json = false;
    int run() const;
};

// The boards that run.
struct LsCommand {
    bool json = false;
    int run() const;
};

// A board that runs.
struct AtCommand {
    std::string name;
    bool json = false;
};

struct AtShowCommand : AtCommand {
    int run() const;
};

struct AtTraceCommand : AtCommand {
    bool following = false;  // goes on with what comes
    bool failed = false;     // calls into the device kit that failed only
    std::size_t last = 0;    // so many entries; 0: all that are kept
    int run() const;
};

// Messages of an OLT, a line each.
struct AtOmciCommand : AtCommand {
    bool following = false;  // goes on with what comes
    std::size_t last = 0;    // so many messages; 0: all that are kept
    bool values = false, bytes = false;
    std::vector<std::string> classes, instances, types;  // only these
    int run() const;
};

struct AtMibCommand : AtCommand {
    bool tree = false;  // along the pointers, from bridge to queue
    int classId = -1;   // only this class; -1: all
    int run() const;
};

struct AtWatchCommand : AtCommand {
    int run() const;
};

struct AtSendCommand : TypedFrame {
    std::string name;
    bool json = false;
    int run() const;  // kNotHeld when the frame is dropped, or does not come back as it went
};

struct AtStepCommand : AtCommand {
    std::string kind;                // of a scenario's step; "": the word is a whole step in JSON
    std::vector<std::string> words;  // of its value
    int run() const;                 // kNotHeld when the step has failed or the frame was dropped
};

// The board's metrics, as text in the exposition format of Prometheus.
struct AtMetricsCommand : AtCommand {
    int run() const;
};

struct AtServeCommand : AtCommand {
    int port = 0;     // 0: one that is free
    int run() const;  // until a signal ends it
};

int printSchema();       // of scenarios
int printStateSchema();  // of the records of the device state

}  // namespace vorn_onu

#endif
