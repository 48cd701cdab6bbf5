// The maker's logging library (C++).
#ifndef PLATFORM_LOGGER_H
#define PLATFORM_LOGGER_H

class Logger {
public:
    // The process-wide logger of a module; never null, never freed.
    static Logger* getInstance(int module);
    // level: 3 error, 6 info, 7 trace. format and its arguments as for printf.
    void writeToLog(int channel, const char* function, const char* file, int line, int level, const char* format, ...)
#if defined(__GNUC__)
        __attribute__((format(printf, 7, 8)))
#endif
        ;
};

#endif
