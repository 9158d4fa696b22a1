#include <zun/logger/logInSyslog.h>

#include <syslog.h>

void vlogInSyslog(int priority, char const* format, std::va_list arguments) {
    openlog("[ZUN]", LOG_CONS | LOG_NDELAY, LOG_USER);
    vsyslog(priority, format, arguments);
    closelog();
}

void logInSyslog(char const* format, ...) {
    std::va_list arguments;
    va_start(arguments, format);
    vlogInSyslog(LOG_ERR, format, arguments);
    va_end(arguments);
}
