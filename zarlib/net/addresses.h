// Numeric network addresses: chInAddr, a host; chSocketAddr, a host and a port; and their texts.
//
//     const chSocketAddr address("192.168.1.20", 8080);
//     if (!address.isValidRemoteAddr()) return;
//     zarTrace(5, "calling %s", address.toString().c_str()); // 192.168.1.20:8080
//
// No name is resolved here, nothing waits and nothing throws. Both classes are plain values. A text that is refused is told by
// hasData(), not by the result of fromString(), which is always true.
//
// REQUIRES of every text taken here: no empty group where it could be IPv6. "::1", "fe80::1", ":80" and "1:" make sockIsValidIPv6()
// run for ever, and with it chInAddr, chSocketAddr and fromString(). Write all eight groups ("0:0:0:0:0:0:0:1"), fill a chInAddr
// from an in6_addr, or convert with sockInet_pton(), which knows the short form.
#pragma once

#include "zarlib/export.h"
#include "zarlib/platform/types.h"

#include <string>

/// A host address without a port: empty, IPv4 or IPv6.
class ZAR_API chInAddr {
public:
  /// Empty: family 0, address zero.
  chInAddr();
  chInAddr(const in_addr &address);
  chInAddr(const in6_addr &address);
  /// fromString(). REQUIRES: see above.
  chInAddr(const std::string &text);

  chInAddr &operator=(const in_addr &address);
  chInAddr &operator=(const in6_addr &address);

  /// Family 0, address zero.
  void clear();

  /// @return 0, AF_INET or AF_INET6.
  short family() const;
  bool hasData() const;
  bool isIPv4() const;
  bool isIPv6() const;

  /// The stored address, whatever the family. Valid as long as the object.
  const in_addr &toInAddr() const;
  const in6_addr &toIn6Addr() const;

  /// Families and addresses equal. Two empty ones are equal whatever address bytes are left in them.
  bool operator==(const chInAddr &other) const;
  bool operator!=(const chInAddr &other) const;

  /// Takes a text that sockIsValidIPv4() or sockIsValidIPv6() accepts; REQUIRES: see above.
  ///
  /// Any other text leaves family 0 and the old address bytes. The numbers of IPv4 are read by inet_addr(): one with a
  /// leading zero is octal there, and a text that it refuses ("1. 2.3.4") becomes 255.255.255.255. A text with a prefix ("/64") passes
  /// as IPv6, but its address is not taken.
  /// @return true, always.
  bool fromString(const std::string &text);

  /// @return "1.2.3.4"; for IPv6 a string of 65 characters that is ended by its first NUL (take its c_str()); "" when empty.
  std::string toString() const;

  /// Whether a socket can be bound to it: not 255.255.255.255, no IPv6 multicast (first byte FF), not empty. 0.0.0.0 is valid.
  /// Refused besides is 0.0.254.169, which was meant to be 169.254.0.0.
  bool isValidLocalAddr() const;

  /// Whether it can be called: not 255.255.255.255, 0.0.0.0 or 0.0.254.169; not the IPv6 any-address, ::1 or fe80::/10; not empty.
  bool isValidRemoteAddr() const;

private:
  short m_family;
  union {
    in_addr ipv4;
    in6_addr ipv6;
  } m_address;
};

/// A whole socket address, in the shape of the system's sockaddr_in6, so that toSocketAddr() goes straight to socket calls: 16 bytes
/// of it for IPv4, 28 for IPv6.
class ZAR_API chSocketAddr {
public:
  /// All bytes zero: empty.
  chSocketAddr();
  /// CreateSocketAddr(). REQUIRES of the text: see above.
  chSocketAddr(const std::string &host, int port);
  chSocketAddr(const chInAddr &host, int port);

  /// Takes host and port; flow information and scope are 0.
  /// @param port  In host byte order; the low 16 bits count.
  /// @return false for an empty host: then the object is empty. false too for port 0, though the object is filled.
  bool CreateSocketAddr(const chInAddr &host, int port);
  /// The same from chInAddr(host). REQUIRES: see above.
  bool CreateSocketAddr(const std::string &host, int port);

  /// Family 0; nothing else is touched.
  void reset();

  bool hasData() const;
  int family() const;

  /// @return The port in host byte order; 0 when empty.
  int port() const;

  /// @return The host; empty for a family that is neither AF_INET nor AF_INET6.
  chInAddr toInAddr() const;

  /// The object itself.
  const sockaddr &toSocketAddr() const;

  /// Family, port and address equal; flow and scope do not count. Two empty ones are equal.
  bool operator==(const chSocketAddr &other) const;
  bool operator!=(const chSocketAddr &other) const { return !(*this == other); }

  /// @return "1.2.3.4:80"; IPv6 without brackets; ":0" when empty.
  std::string toString() const;

  /// As the tests of chInAddr, but a port of 0 is refused too, and 0.0.254.169 is not.
  bool isValidLocalAddr() const;
  bool isValidRemoteAddr() const;

private:
  unsigned short m_family;
  unsigned short m_port; // network byte order
  unsigned m_ipv4;       // the address of IPv4; the flow information of IPv6
  unsigned char m_ipv6[16];
  [[maybe_unused]] unsigned m_scope;
};

/// @return Whether the text is four numbers below 256 with dots between them, in at most 15 characters. Blanks and a plus sign ahead of
///         a number pass; anything behind the last one does not.
ZAR_API bool sockIsValidIPv4(const std::string &text);

/// @return Whether the text is eight groups of one to four hexadecimal digits with colons between them, and perhaps a slash and a
///         number up to 128. Does not return where it meets an empty group.
ZAR_API bool sockIsValidIPv6(const std::string &text);

/// Converts an IPv6 text, in the short form too. Give the address alone: brackets, a port and the number of a scope are passed over
/// on Windows, on Linux they refuse the text.
/// @param family  AF_INET6; any other is refused.
/// @param dst     Receives 16 bytes; left as it is when the text is refused.
/// @return 28, the length of a whole socket address; -1 when the text is refused.
ZAR_API int sockInet_pton(int family, const char *text, void *dst);

/// Converts an IPv6 address of 16 bytes into its short text.
/// @param size  Room at `dst` in characters, the end included; 46 is enough.
/// @return `dst`; null when the family is not AF_INET6 or the text does not fit.
ZAR_API const char *sockInet_ntop(int family, const void *src, char *dst, int size);

/// Convert by inet_addr(), by sockInet_pton() and by the member. @return true, always, also for a text that was refused: the address is
/// then 255.255.255.255, as it was, and empty, in this order.
ZAR_API bool fromString(const std::string &text, in_addr &address);
ZAR_API bool fromString(const std::string &text, in6_addr &address);
ZAR_API bool fromString(const std::string &text, chInAddr &address);

/// The texts that chInAddr::toString() gives.
ZAR_API std::string toString(const in_addr &address);
ZAR_API std::string toString(const in6_addr &address);
ZAR_API std::string toString(const chInAddr &address);
