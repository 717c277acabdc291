#include <stdio.h>
#include <string.h>

#include "config.h"
#include "log.h"

// Reads "name=value" lines; unknown names are reported with log_message(LOG_WARN, ...).
int load_config(const char *path, struct config *config)
{
    char line[128];
    FILE *file = fopen(path, "r");
    if (!file) {
        log_message(LOG_ERROR, "cannot open the configuration");
        return 0;
    }
    while (fgets(line, sizeof line, file)) {
        if (strncmp(line, "verbose=", 8) == 0) {
            config->verbose = line[8] == '1';
        } else if (strncmp(line, "name=", 5) == 0) {
            strncpy(config->name, line + 5, sizeof config->name - 1);
        } else {
            log_message(LOG_WARN, "unknown setting (\"log_message(\" is not one either)");
        }
    }
    fclose(file);
    return 1;
}
