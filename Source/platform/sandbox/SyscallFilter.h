#pragma once

#include "platform/core/ErrorOr.h"

/// Sets no_new_privs and installs, on every thread of the process, a seccomp filter
/// that allows only what a set-up frame service still needs: memory, threads (never a
/// new process), time, signals to itself, and reading and writing descriptors it already
/// holds. Every call that reaches a path, a new socket, another process or the process's
/// credentials is refused; see SyscallFilter.cpp for the list and the few calls that kill.
/// Stacks on any filter the process already runs under.
ErrorOr<bool> InstallSyscallFilter();
