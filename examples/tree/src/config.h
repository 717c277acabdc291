#ifndef CONFIG_H
#define CONFIG_H

struct config {
    int verbose;
    char name[64];
};

int load_config(const char *path, struct config *config);

#endif
