#include "config.h"
#include "log.h"

/*
 * The example's entry point. Every report goes through log_message(), e.g.
 *     log_message(LOG_INFO, "starting");
 */
int main(int argc, char **argv)
{
    struct config config = {0, ""};
    log_message(LOG_INFO, "starting");
    if (argc > 1 && !load_config(argv[1], &config)) {
        log_message(LOG_ERROR, "no configuration; see log_message(...) above");
        return 1;
    }
    if (config.verbose)
        log_message(LOG_INFO, config.name);  // log_message( with the configured name
    log_message(LOG_INFO, "done");
    return 0;
}
