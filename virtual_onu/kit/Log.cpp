// The maker's logging library: every line goes into the trace, none to standard output.
#include <cstdarg>
#include <cstdio>
#include <string>
#include <vector>

#include "Core.h"
#include "platform/logger.h"

Logger* Logger::getInstance(int /*module*/) {
    static Logger& logger = *new Logger;
    return &logger;
}

void Logger::writeToLog(int /*channel*/, const char* function, const char* /*file*/, int /*line*/, int level,
                        const char* format, ...) {
    std::va_list list;
    va_start(list, format);
    std::va_list measured;
    va_copy(measured, list);
    const int length = std::vsnprintf(nullptr, 0, format, measured);
    va_end(measured);
    std::vector<char> text(length < 0 ? 1 : static_cast<std::size_t>(length) + 1, '\0');
    if (length > 0) std::vsnprintf(text.data(), text.size(), format, list);
    va_end(list);
    virtual_onu::record(virtual_onu::CallKind::Log, "log",
                        virtual_onu::arguments(level, function, static_cast<const char*>(text.data())), 0);
}
