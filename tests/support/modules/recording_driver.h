// What a test sets in the recording driver, and what the driver has recorded.
#pragma once

#include <string>

struct driver_state {
  const char *version = "4.1";
  bool opens = true, lists = false, sends = true, reads = true;
  std::string read = {};  ///< the data of a read
  int counted = 0;        ///< its reported size
  std::string calls = {}; ///< a line for each call: the entry point without "Packet", and its arguments
};

extern "C" driver_state driver;
