// Copyright (c) the Disk Hub developers
// SPDX-License-Identifier: MIT

#include "AppPrivileges.h"

#include <QByteArray>
#include <QProcessEnvironment>
#include <QString>

#include <algorithm>
#include <iterator>

#ifdef Q_OS_LINUX
#include <sys/auxv.h>
#endif

namespace
{

/// Variables that can name no code. The libraries below the toolkit have many that can, and new
/// versions bring new ones; so what is not known is left out.
const char *const HARMLESS_VARIABLES[] = {
    "HOME", "USER", "LOGNAME", "PATH", "PWD", "TMPDIR", "TZ",
    // language and input
    "LANG", "LANGUAGE", "LC_ALL", "LC_COLLATE", "LC_CTYPE", "LC_MESSAGES", "LC_NUMERIC", "LC_TIME",
    "XMODIFIERS", "QT_IM_MODULE",
    // session and display
    "DISPLAY", "WAYLAND_DISPLAY", "XAUTHORITY", "SESSION_MANAGER", "DBUS_SESSION_BUS_ADDRESS",
    "XDG_CACHE_HOME", "XDG_CONFIG_HOME", "XDG_CURRENT_DESKTOP", "XDG_DATA_HOME", "XDG_RUNTIME_DIR",
    "XDG_SESSION_TYPE", "KDE_FULL_SESSION", "KDE_SESSION_VERSION", "XCURSOR_SIZE", "XCURSOR_THEME",
    // windows, and what the toolkit says about itself
    "QT_QPA_PLATFORM", "QT_AUTO_SCREEN_SCALE_FACTOR", "QT_ENABLE_HIGHDPI_SCALING", "QT_FONT_DPI",
    "QT_SCALE_FACTOR", "QT_SCALE_FACTOR_ROUNDING_POLICY", "QT_SCREEN_SCALE_FACTORS",
    "QT_DEBUG_PLUGINS", "QT_LOGGING_RULES"};

/// Arguments that name plugins or where they are; each is followed by its value.
const char *const PLUGIN_ARGUMENTS[] = {"-platformpluginpath", "-plugin"};

/// Whether one of the texts of `list` is `text`.
template <int SIZE> bool Contains(const char *const (&list)[SIZE], const char *text)
{
    return std::any_of(std::begin(list), std::end(list),
                       [text](const char *entry) { return qstrcmp(entry, text) == 0; });
}

/// Whether the system gave this process more rights than its user has.
bool AreRaised()
{
#ifdef Q_OS_LINUX
    return getauxval(AT_SECURE) != 0;
#else
    return false;
#endif
}

} // namespace

void AppPrivileges::Guard(int *argc, char **argv)
{
    if (!AreRaised())
        return;
    RestrictEnvironment();
    RestrictArguments(argc, argv);
}

void AppPrivileges::RestrictEnvironment()
{
    const QStringList names = QProcessEnvironment::systemEnvironment().keys();
    for (const QString &name : names) {
        const QByteArray variable = name.toLocal8Bit();
        if (!Contains(HARMLESS_VARIABLES, variable.constData()))
            qunsetenv(variable.constData());
    }
}

void AppPrivileges::RestrictArguments(int *argc, char **argv)
{
    int kept = 0;
    for (int i = 0; i < *argc; ++i) {
        // The toolkit takes one dash or two.
        const char *const argument = argv[i] + (qstrncmp(argv[i], "--", 2) == 0 ? 1 : 0);
        if (i > 0 && Contains(PLUGIN_ARGUMENTS, argument))
            ++i;
        else
            argv[kept++] = argv[i];
    }
    *argc = kept;
    argv[kept] = nullptr;
}
