/* Copyright (c) the Disk Hub developers
 * SPDX-License-Identifier: MIT
 *
 * What a search would be in bare C: every file below the directories, its name and its size.
 *
 *   walk DIR...     prints a listing line for each file
 */
#define _GNU_SOURCE
#include <dirent.h>
#include <fcntl.h>
#include <stdio.h>
#include <string.h>
#include <sys/stat.h>

static void walk(int fd)
{
    DIR *d = fdopendir(fd);
    if (d == NULL)
        return;
    for (struct dirent *e; (e = readdir(d)) != NULL;) {
        if (e->d_name[0] == '.')
            continue;
        if (e->d_type == DT_DIR) {
            walk(openat(fd, e->d_name, O_RDONLY | O_DIRECTORY));
            continue;
        }
        struct stat s;
        if (fstatat(fd, e->d_name, &s, 0) == 0)
            printf("0   \"%.16s\" %lld\n", e->d_name, (long long)s.st_size);
    }
    closedir(d);
}

int main(int argc, char **argv)
{
    for (int i = 1; i < argc; ++i)
        walk(open(argv[i], O_RDONLY | O_DIRECTORY));
    return 0;
}
