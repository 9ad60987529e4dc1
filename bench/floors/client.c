/* Copyright (c) the Disk Hub developers
 * SPDX-License-Identifier: MIT
 *
 * The client of every measurement: sends the bytes of a file on one connection for each request,
 * reads the answer to its end and prints what it took, in microseconds.
 *
 *   client PORT REQUEST-FILE COUNT CLIENTS PACE-US
 *
 * CLIENTS connections are open at a time; PACE-US is the pause between requests (one client only).
 * Output: one line "rate MEDIAN P99 MAX FIRST LAST FAILURES": requests a second, latencies, the
 * medians of the first and the last tenth, and answers that were empty.
 *
 * Beside "skylet bench", which checks each answer and says what failed, this one costs next to
 * nothing, so that servers that do nothing can be measured with it.
 */
#define _GNU_SOURCE
#include <arpa/inet.h>
#include <errno.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <poll.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/socket.h>
#include <time.h>
#include <unistd.h>

struct exchange {
    int fd;
    long sent;
    long received;
    long expected; /* the whole answer, once its header is there; -1 before */
    double start;
    char head[1024];
};

static char *request;
static long request_size;
static struct sockaddr_in hub;

static double now(void)
{
    struct timespec t;
    clock_gettime(CLOCK_MONOTONIC, &t);
    return (double)t.tv_sec * 1e6 + (double)t.tv_nsec / 1e3;
}

static void start(struct exchange *x)
{
    memset(x, 0, sizeof *x);
    x->expected = -1;
    x->start = now();
    x->fd = socket(AF_INET, SOCK_STREAM | SOCK_NONBLOCK, 0);
    if (x->fd < 0 ||
        (connect(x->fd, (struct sockaddr *)&hub, sizeof hub) < 0 && errno != EINPROGRESS)) {
        perror("connect");
        exit(1);
    }
}

/* Looks for the end of the header and the length behind it. */
static void look_for_length(struct exchange *x)
{
    long have = x->received < (long)sizeof x->head - 1 ? x->received : (long)sizeof x->head - 1;
    x->head[have] = 0;
    const char *end = strstr(x->head, "\r\n\r\n");
    const char *length = strcasestr(x->head, "Content-Length:");
    if (end != NULL && length != NULL)
        x->expected = end + 4 - x->head + atol(length + 15);
}

/* Returns 1 once the exchange is over. */
static int step(struct exchange *x, short events)
{
    static char buffer[1 << 18];
    if ((events & POLLOUT) && x->sent < request_size) {
        long n = send(x->fd, request + x->sent, (size_t)(request_size - x->sent), MSG_NOSIGNAL);
        if (n > 0)
            x->sent += n;
    }
    if (events & (POLLIN | POLLHUP | POLLERR)) {
        long n = recv(x->fd, buffer, sizeof buffer, 0);
        if (n < 0 && (errno == EAGAIN || errno == EINTR))
            return 0;
        if (n <= 0)
            return 1;
        if (x->received < (long)sizeof x->head - 1) {
            long room = (long)sizeof x->head - 1 - x->received;
            memcpy(x->head + x->received, buffer, (size_t)(n < room ? n : room));
        }
        x->received += n;
        if (x->expected < 0)
            look_for_length(x);
        /* An answer without a length ends with the connection. */
        if (x->expected >= 0 && x->received >= x->expected)
            return 1;
    }
    return 0;
}

static int by_value(const void *a, const void *b)
{
    double d = *(const double *)a - *(const double *)b;
    return d < 0 ? -1 : d > 0;
}

static double median(const double *values, int count)
{
    double *sorted = malloc(sizeof *sorted * (size_t)count);
    memcpy(sorted, values, sizeof *sorted * (size_t)count);
    qsort(sorted, (size_t)count, sizeof *sorted, by_value);
    double m = sorted[count / 2];
    free(sorted);
    return m;
}

int main(int argc, char **argv)
{
    if (argc != 6)
        return 2;
    hub.sin_family = AF_INET;
    hub.sin_port = htons((unsigned short)atoi(argv[1]));
    hub.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    FILE *f = fopen(argv[2], "rb");
    if (f == NULL || fseek(f, 0, SEEK_END) != 0)
        return 2;
    request_size = ftell(f);
    rewind(f);
    request = malloc((size_t)request_size + 1);
    if (fread(request, 1, (size_t)request_size, f) != (size_t)request_size)
        return 2;
    int count = atoi(argv[3]), clients = atoi(argv[4]), pace = atoi(argv[5]);
    if (clients > count)
        clients = count;

    struct exchange *x = calloc((size_t)clients, sizeof *x);
    struct pollfd *p = calloc((size_t)clients, sizeof *p);
    double *latency = calloc((size_t)count, sizeof *latency);
    int started = 0, done = 0, failures = 0;
    double begin = now();
    for (; started < clients; ++started)
        start(&x[started]);
    while (done < count) {
        for (int i = 0; i < clients; ++i) {
            p[i].fd = x[i].fd;
            p[i].events = (short)(POLLIN | (x[i].sent < request_size ? POLLOUT : 0));
        }
        poll(p, (nfds_t)clients, -1);
        for (int i = 0; i < clients; ++i) {
            if (x[i].fd < 0 || p[i].revents == 0 || !step(&x[i], p[i].revents))
                continue;
            failures += x[i].received == 0;
            latency[done++] = now() - x[i].start;
            close(x[i].fd);
            x[i].fd = -1;
            if (pace > 0)
                usleep((unsigned)pace);
            if (started < count) {
                start(&x[i]);
                ++started;
            }
        }
    }
    double seconds = (now() - begin) / 1e6;
    int tenth = count / 10 > 0 ? count / 10 : 1;
    double first = median(latency, tenth), last = median(latency + count - tenth, tenth);
    qsort(latency, (size_t)count, sizeof *latency, by_value);
    printf("%.6f %.1f %.1f %.1f %.1f %.1f %d\n", count / seconds, latency[count / 2],
           latency[count * 99L / 100], latency[count - 1], first, last, failures);
    return 0;
}
