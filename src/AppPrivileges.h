// Copyright (c) the Disk Hub developers
// SPDX-License-Identifier: MIT

#pragma once

/// What a user may not bring along into a process that has more rights than the user has: a program
/// with a file capability, such as the right to low ports, is started by anybody, with an
/// environment and arguments of theirs, and the toolkit loads code from where these say.
class AppPrivileges
{
public:
    AppPrivileges() = delete;

    /// Where the system gave this process more rights than its user has, restricts environment and
    /// arguments; anywhere else does nothing. To be called before anything of the toolkit.
    static void Guard(int *argc, char **argv);

    /// Unsets all variables but those that can name no code: home, language, session, display,
    /// and what the toolkit takes for the size and place of its windows.
    static void RestrictEnvironment();

    /// Takes out the arguments by which the toolkit finds and loads plugins, with their values.
    /// `argv` has `*argc` entries and a null behind them, before and after.
    static void RestrictArguments(int *argc, char **argv);
};
