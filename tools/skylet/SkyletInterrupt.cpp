// Copyright (c) the Disk Hub developers
// SPDX-License-Identifier: MIT

#include "SkyletInterrupt.h"

#include <csignal>

namespace
{

// All that a handler may safely do on every system is to set this. It is looked at so often that
// the delay is not noticed.
constexpr int LOOK_INTERVAL_MS = 50;
volatile std::sig_atomic_t interrupted = 0;

const int SIGNALS[] = {
    SIGINT,
    SIGTERM,
#ifdef SIGHUP
    SIGHUP,
#endif
};

/// Has `handler` called for the signal. One that is ignored, as under nohup, stays ignored.
void Handle(int signal, void (*handler)(int))
{
    if (std::signal(signal, handler) == SIG_IGN)
        static_cast<void>(std::signal(signal, SIG_IGN)); // which worked before
}

extern "C" void HandleSignal(int)
{
    interrupted = 1;
}

} // namespace

SkyletInterrupt::SkyletInterrupt(QObject *parent) : QObject(parent)
{
    for (const int signal : SIGNALS)
        Handle(signal, HandleSignal);
    connect(&mTimer, &QTimer::timeout, this, [this] {
        if (IsRequested())
            emit Requested();
    });
    mTimer.start(LOOK_INTERVAL_MS);
}

SkyletInterrupt::~SkyletInterrupt()
{
    for (const int signal : SIGNALS)
        Handle(signal, SIG_DFL);
}

bool SkyletInterrupt::IsRequested()
{
    return interrupted != 0;
}
