#pragma once

#include "platform/core/ErrorOr.h"
#include "platform/core/NSData.h"

/// The whole content of a descriptor a peer handed over, as bytes, without ever
/// letting the peer fault the reader or hold it:
/// - a memfd sealed against writing and shrinking is mapped as it is;
/// - any other regular file is read where it lies through `pread` (never mapped): a
///   file truncated later reads short, as if it ended there;
/// - a pipe, a FIFO or a socket is read once into a sealed memfd, within `limits`
///   (256 MiB and 10 s by default), never blocking beyond them;
/// - folders, devices, and descriptors open for writing only or for the path only are
///   refused with an error that says so.
/// The descriptor stays the caller's; the data keeps a duplicate where it needs one.
ErrorOr<NSData> DataFromFileDescriptor(int fd, NSDataStreamLimits limits = {});

/// A memfd holding `data`, sealed against any change: a duplicate of the data's own
/// sealed memfd when it has one, otherwise a new one. The caller owns the descriptor.
ErrorOr<int> CreateSealedMemfd(const NSData& data, const char* name);

/// A descriptor that hands `data` to another process without copying what is already
/// in a file: a duplicate of the file read in place or of the sealed memfd, otherwise
/// a new sealed memfd. The caller owns the descriptor.
ErrorOr<int> CreateDescriptorToSend(const NSData& data, const char* name);
