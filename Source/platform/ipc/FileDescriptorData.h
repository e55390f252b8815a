#pragma once

#include "platform/core/ErrorOr.h"
#include "platform/core/NSData.h"

/// The whole content of a file descriptor as bytes. A sealed memfd (shrinking and
/// writing sealed) is mapped without copying, since its owner can no longer change it
/// under us; any other regular file is read into memory, so that a file truncated later
/// cannot fault the reader. Pipes, sockets, folders and descriptors that cannot be read
/// give an error. The descriptor stays the caller's.
ErrorOr<NSData> DataFromFileDescriptor(int fd);

/// A memfd holding `data`, sealed against any change: a duplicate of the data's own
/// sealed memfd when it has one, otherwise a new one. The caller owns the descriptor.
ErrorOr<int> CreateSealedMemfd(const NSData& data, const char* name);
