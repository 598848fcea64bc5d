// Interfaces of byte streams: chStream, and chSocketStream for connected ones. Nothing in the library derives from them; a program may,
// and what it does not override refuses.
#pragma once

#include "zarlib/export.h"
#include "zarlib/net/addresses.h"

#include <vector>

/// A stream of bytes.
class ZAR_API chStream {
public:
  /// @return Whether all bytes were written. Here: false.
  virtual bool write(const void *data, int size);
  /// @return The count of bytes that `out` received; 0 for none in time; -1 at the end. Here: -1.
  virtual int read(std::vector<unsigned char> &out, int timeoutMs);
  /// Here: false.
  virtual bool isEof();
  virtual ~chStream();
};

/// A stream to a peer.
class ZAR_API chSocketStream : public chStream {
public:
  ~chSocketStream() override;
  /// @return Whether the connection stands. Here: false.
  virtual bool connect(const chSocketAddr &addr, int timeoutMs);
  /// Here: nothing.
  virtual void disconnect();
};
