#include <stdio.h>

#include "log.h"

static const char *level_names[] = {"info", "warn", "error"};

/* log_message(level, text) prints "level: text" on standard error.
   Nothing else in the program writes there. */
void log_message(enum log_level level, const char *text)
{
    fprintf(stderr, "%s: %s\n", level_names[level], text);
}
