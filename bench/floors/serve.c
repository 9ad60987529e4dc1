/* Copyright (c) the Disk Hub developers
 * SPDX-License-Identifier: MIT
 *
 * What a hub would be in bare C: accept, read one request, answer, close; one at a time.
 *
 *   serve PORT canned FILE     answers with the bytes of FILE, read once
 *   serve PORT files DIR       reads all files of DIR for each request and sends them
 *   serve PORT fresh DIR       the same, and gives the memory back after each
 *   serve PORT store DIR       cuts each body into 19 parts and writes them to DIR
 *   serve PORT store-fresh DIR the same, and gives the memory back after each
 *   serve PORT search DIR DIR  answers with a line for each D64 below the first DIR and for each
 *                              program below the second
 */
#define _GNU_SOURCE
#include <arpa/inet.h>
#include <dirent.h>
#include <fcntl.h>
#include <malloc.h>
#include <netinet/in.h>
#include <signal.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#define PARTS 19
#define D64_SIZE 174848
#define NAME_SIZE 16 /* characters of a name in a listing */
#define HEAD                                                                                       \
    "HTTP/1.1 200 Ok\r\nContent-Type: application/octet-stream\r\nContent-Length: %zu\r\n\r\n"

struct bytes {
    char *data;
    size_t size, room;
};

static void grow(struct bytes *b, size_t more)
{
    if (b->size + more <= b->room)
        return;
    b->room = (b->size + more) * 2;
    b->data = realloc(b->data, b->room);
}

static void add_file(struct bytes *b, int dir, const char *name)
{
    int fd = openat(dir, name, O_RDONLY);
    struct stat s;
    if (fd < 0 || fstat(fd, &s) != 0)
        return;
    grow(b, (size_t)s.st_size);
    ssize_t n = read(fd, b->data + b->size, (size_t)s.st_size);
    b->size += n > 0 ? (size_t)n : 0;
    close(fd);
}

static void add_files(struct bytes *b, const char *path)
{
    DIR *d = opendir(path);
    for (struct dirent *e; d != NULL && (e = readdir(d)) != NULL;) {
        if (e->d_name[0] != '.')
            add_file(b, dirfd(d), e->d_name);
    }
    if (d != NULL)
        closedir(d);
}

static void add_line(struct bytes *b, const char *name, const char *type)
{
    int length = (int)strcspn(name, ".");
    length = length < NAME_SIZE ? length : NAME_SIZE;
    grow(b, 64);
    b->size += (size_t)sprintf(b->data + b->size, "0   \"%.*s\"%*s%s\n", length, name,
                               NAME_SIZE + 1 - length, "", type);
}

static int is_d64(int dir, const char *name)
{
    struct stat s;
    return fstatat(dir, name, &s, 0) == 0 && s.st_size == D64_SIZE;
}

static int is_program(int dir, const char *name)
{
    (void)dir;
    const char *suffix = strrchr(name, '.');
    return suffix != NULL && strcasecmp(suffix, ".prg") == 0;
}

/* A line for each entry below `fd`, which is closed, that `is_listed`. */
static void search(struct bytes *b, int fd, int (*is_listed)(int, const char *), const char *type)
{
    DIR *d = fdopendir(fd);
    if (d == NULL)
        return;
    for (struct dirent *e; (e = readdir(d)) != NULL;) {
        if (e->d_name[0] == '.')
            continue;
        if (e->d_type == DT_DIR)
            search(b, openat(fd, e->d_name, O_RDONLY | O_DIRECTORY), is_listed, type);
        else if (is_listed(fd, e->d_name))
            add_line(b, e->d_name, type);
    }
    closedir(d);
}

static void add_listing(struct bytes *b, char **directories)
{
    search(b, open(directories[0], O_RDONLY | O_DIRECTORY), is_d64, "d64");
    search(b, open(directories[1], O_RDONLY | O_DIRECTORY), is_program, "prg");
}

/* Reads a request; returns where its body starts, or 0 if there is no request. */
static size_t receive(int fd, struct bytes *b)
{
    size_t body = 0, total = 0;
    b->size = 0;
    while (body == 0 || b->size < total) {
        grow(b, 1 << 18);
        ssize_t n = recv(fd, b->data + b->size, b->room - b->size - 1, 0);
        if (n <= 0)
            break;
        b->size += (size_t)n;
        b->data[b->size] = 0;
        const char *end = body == 0 ? strstr(b->data, "\r\n\r\n") : NULL;
        if (end == NULL)
            continue;
        const char *length = strcasestr(b->data, "Content-Length:");
        body = (size_t)(end + 4 - b->data);
        total = body + (length != NULL ? (size_t)atol(length + 15) : 0);
        if (total > b->room)
            grow(b, total - b->size + 1);
    }
    return body;
}

static void store(const struct bytes *b, size_t body, const char *path)
{
    size_t part = (b->size - body) / PARTS;
    for (int i = 0; i < PARTS; ++i) {
        char name[4096];
        snprintf(name, sizeof name, "%s/part%02d", path, i);
        int fd = open(name, O_WRONLY | O_CREAT | O_TRUNC, 0644);
        if (fd < 0 || write(fd, b->data + body + (size_t)i * part, part) < 0)
            perror(name);
        close(fd);
    }
}

static void send_all(int fd, const char *data, size_t size)
{
    while (size > 0) {
        ssize_t n = send(fd, data, size, MSG_NOSIGNAL);
        if (n <= 0)
            return;
        data += n;
        size -= (size_t)n;
    }
}

static int listen_at(const char *port)
{
    int server = socket(AF_INET, SOCK_STREAM, 0), on = 1;
    setsockopt(server, SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
    struct sockaddr_in a = {.sin_family = AF_INET,
                            .sin_port = htons((unsigned short)atoi(port)),
                            .sin_addr.s_addr = htonl(INADDR_LOOPBACK)};
    if (bind(server, (struct sockaddr *)&a, sizeof a) != 0 || listen(server, 4096) != 0)
        exit(1);
    return server;
}

static void reply(int fd, const struct bytes *answer)
{
    char head[256];
    int n = snprintf(head, sizeof head, HEAD, answer->size);
    send_all(fd, head, (size_t)n);
    send_all(fd, answer->data, answer->size);
    close(fd);
}

int main(int argc, char **argv)
{
    if (argc < 4 || (strcmp(argv[2], "search") == 0) != (argc == 5))
        return 2;
    int server = listen_at(argv[1]);
    const char *mode = argv[2];
    int canned = strcmp(mode, "canned") == 0, search = strcmp(mode, "search") == 0;
    int stores = strncmp(mode, "store", 5) == 0, fresh = strstr(mode, "fresh") != NULL;
    struct bytes request = {0}, answer = {0};
    if (canned)
        add_file(&answer, AT_FDCWD, argv[3]);
    for (;;) {
        int fd = accept(server, NULL, NULL);
        size_t body = receive(fd, &request);
        if (body == 0) {
            close(fd);
            continue;
        }
        if (!canned)
            answer.size = 0;
        if (stores)
            store(&request, body, argv[3]);
        else if (search)
            add_listing(&answer, argv + 3);
        else if (!canned)
            add_files(&answer, argv[3]);
        reply(fd, &answer);
        if (fresh) {
            free(answer.data);
            free(request.data);
            answer = request = (struct bytes){0};
            malloc_trim(0);
        }
    }
}
