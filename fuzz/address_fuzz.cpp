// The parsers of address texts. Texts with an empty group, on which sockIsValidIPv6() never returns, go to the
// converter only.
#include "zarlib/net/addresses.h"

#include <cstdint>
#include <cstdlib>
#include <cstring>

static void require(bool holds) {
  if (!holds) std::abort();
}

static bool has_empty_group(const std::string &text) {
  const std::string head = ":" + text.substr(0, text.find('/')) + ":";
  return head.find("::") != std::string::npos;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  const std::string text(reinterpret_cast<const char *>(data), size);

  in6_addr ipv6, again;
  if (sockInet_pton(AF_INET6, text.c_str(), &ipv6) != -1) {
    const std::string written = toString(ipv6);
    require(sockInet_pton(AF_INET6, written.c_str(), &again) == 28 && std::memcmp(&ipv6, &again, sizeof ipv6) == 0);
  }
  if (has_empty_group(text)) return 0;

  const chInAddr address(text);
  require(address.isIPv4() == sockIsValidIPv4(text) && (address.hasData() || !sockIsValidIPv6(text)));
  if (address.isIPv4()) require(chInAddr(address.toString()) == address);
  const chSocketAddr whole(text, 80);
  require(whole.toInAddr() == address && whole.hasData() == address.hasData());
  require(!whole.isValidRemoteAddr() || whole.isValidLocalAddr() || address.isIPv6());
  return 0;
}
