/* log.h: the logging interface of the example project.
 * Call log_message(level, text) to write one line; see log.c. */
#ifndef LOG_H
#define LOG_H

enum log_level { LOG_INFO, LOG_WARN, LOG_ERROR };

void log_message(enum log_level level, const char *text);

#endif
