#pragma once

#include "platform/core/ErrorOr.h"
#include "platform/sandbox/ResourceLimits.h"

/// Confines the process for reading untrusted bytes, once everything it needs is loaded
/// and set up: working folder "/" and the resource limits, no_new_privs, no filesystem
/// rights for the calling thread and those it starts (Landlock, where the kernel has it),
/// then the system call filter on every thread. Landlock's absence is no failure (set
/// LXKIT_DEBUG to see it on stderr); any other step that fails is, and the caller must
/// not go on to read untrusted bytes.
ErrorOr<bool> ConfineProcess(const ResourceLimits& limits = DefaultResourceLimits());

/// Takes the filesystem rights of the calling thread only, for a thread that exists
/// before another one calls ConfineProcess (Landlock binds threads one by one; the system
/// call filter then covers them all).
ErrorOr<bool> RestrictThreadFilesystemAccess();
