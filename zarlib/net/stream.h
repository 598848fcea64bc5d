// Interfaces of byte streams: chStream, and chSocketStream for connected ones. Nothing in the library derives from
// them; a program may, and whatever it does not override fails.
#pragma once

#include "zarlib/export.h"
#include "zarlib/net/addresses.h"

#include <vector>

/// A byte stream.
class ZAR_API chStream {
public:
  /// @return Whether all bytes were written. Here: false.
  virtual bool write(const void *data, int size);
  /// @return The number of bytes stored in `out`; 0 on time-out; -1 at the end. Here: -1.
  virtual int read(std::vector<unsigned char> &out, int timeoutMs);
  /// Here: false.
  virtual bool isEof();
  virtual ~chStream();
};

/// A stream to a peer.
class ZAR_API chSocketStream : public chStream {
public:
  ~chSocketStream() override;
  /// @return Whether the connection is established. Here: false.
  virtual bool connect(const chSocketAddr &addr, int timeoutMs);
  /// Here: does nothing.
  virtual void disconnect();
};
