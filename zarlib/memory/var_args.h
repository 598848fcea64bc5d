// chVarArgs: a view of a byte range, with its byteof() and print() overloads.
#pragma once

#include "zarlib/export.h"

#include <vector>

/// A non-owning view of bytes, valid while they do not move. A plain value of two words.
class ZAR_API chVarArgs {
public:
  /// Views the vector's bytes until it is modified. REQUIRES: fewer than 2 GiB.
  chVarArgs(const std::vector<unsigned char> &bytes);
  /// REQUIRES: `size` is not negative.
  chVarArgs(const void *data, int size);

  const void *c_data() const;
  int size() const;

private:
  const void *m_pStart;
  const void *m_pEnd;
};

/// An overload set that client code extends with its own types: byteof() tells how many bytes print() will write.
/// @return The size of the view.
ZAR_API int byteof(const chVarArgs &args);

/// Copies the bytes to `out`. REQUIRES: room for byteof(args) bytes that do not overlap them. @return The view's size.
ZAR_API int print(unsigned char *out, const chVarArgs &args);
