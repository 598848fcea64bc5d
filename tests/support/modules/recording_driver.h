// What a test tells the recording driver, and what that has recorded.
#pragma once

#include <string>

struct driver_state {
  const char *version = "4.1";
  bool opens = true, lists = false, sends = true, reads = true;
  std::string read = {};  ///< what a read brings
  int counted = 0;        ///< how many bytes it claims
  std::string calls = {}; ///< a line for each call: the entry point without "Packet", and what it was given
};

extern "C" driver_state driver;
