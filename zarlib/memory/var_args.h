// chVarArgs: a view of a byte range, and its members of the byteof/print family.
#pragma once

#include "zarlib/export.h"

#include <vector>

/// A view of bytes that somebody else owns, valid as long as they stand still. A plain value of two words.
class ZAR_API chVarArgs {
public:
  /// Views the vector's bytes until the vector changes. REQUIRES: fewer than 2 GiB.
  chVarArgs(const std::vector<unsigned char> &bytes);
  /// REQUIRES: `size` is not negative.
  chVarArgs(const void *data, int size);

  const void *c_data() const;
  int size() const;

private:
  const void *m_pStart;
  const void *m_pEnd;
};

/// An overload family that client code adds its own types to: byteof() answers how many bytes print() will write.
/// @return The size of the view.
ZAR_API int byteof(const chVarArgs &args);

/// Copies the bytes to `out`. REQUIRES: room for byteof(args) bytes that do not overlap them. @return The size of the
/// view.
ZAR_API int print(unsigned char *out, const chVarArgs &args);
