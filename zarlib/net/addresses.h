// Numeric network addresses: chInAddr, a host; chSocketAddr, a host and a port; and their text forms.
//
//     const chSocketAddr address("192.168.1.20", 8080);
//     if (!address.isValidRemoteAddr()) return;
//     zarTrace(5, "calling %s", address.toString().c_str()); // 192.168.1.20:8080
//
// No names are resolved here, nothing blocks and nothing throws. Both classes are plain values. A rejected text shows
// in hasData(), not in the result of fromString(), which is always true.
//
// REQUIRES for every text passed in: no empty group if it could be IPv6. "::1", "fe80::1", ":80" and "1:" make
// sockIsValidIPv6() loop forever, and with it chInAddr, chSocketAddr and fromString(). Write all eight groups
// ("0:0:0:0:0:0:0:1"), construct the chInAddr from an in6_addr, or convert with sockInet_pton(), which accepts the
// short form.
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

  /// The stored address, whatever the family. Valid for the lifetime of the object.
  const in_addr &toInAddr() const;
  const in6_addr &toIn6Addr() const;

  /// Families and addresses are equal. Two empty ones are equal whatever address bytes they still hold.
  bool operator==(const chInAddr &other) const;
  bool operator!=(const chInAddr &other) const;

  /// Parses a text that sockIsValidIPv4() or sockIsValidIPv6() accepts; REQUIRES: see above.
  ///
  /// Any other text leaves family 0 and the old address bytes. IPv4 numbers are read by inet_addr(), which takes a
  /// leading zero as octal; a text that it rejects ("1. 2.3.4") becomes 255.255.255.255. A text with a prefix length
  /// ("/64") passes as IPv6, but its address is not stored.
  /// @return Always true.
  bool fromString(const std::string &text);

  /// @return "1.2.3.4"; for IPv6 a string of size 65 whose text ends at its first NUL (use its c_str()); "" when empty.
  std::string toString() const;

  /// Whether a socket can be bound to it: not 255.255.255.255, not IPv6 multicast (first byte FF), not empty. 0.0.0.0
  /// is valid. 0.0.254.169 is rejected too; 169.254.0.0 was intended.
  bool isValidLocalAddr() const;

  /// Whether a peer can have it: not 255.255.255.255, 0.0.0.0 or 0.0.254.169; not IPv6 unspecified, ::1 or fe80::/10;
  /// not empty.
  bool isValidRemoteAddr() const;

private:
  short m_family;
  union {
    in_addr ipv4;
    in6_addr ipv6;
  } m_address;
};

/// A complete socket address with the layout of the system's sockaddr_in6, so that toSocketAddr() can be passed to
/// socket calls directly: the first 16 bytes for IPv4, all 28 for IPv6.
class ZAR_API chSocketAddr {
public:
  /// All bytes zero: empty.
  chSocketAddr();
  /// CreateSocketAddr(). REQUIRES of the text: see above.
  chSocketAddr(const std::string &host, int port);
  chSocketAddr(const chInAddr &host, int port);

  /// Sets host and port; flow information and scope are 0.
  /// @param port  In host byte order; only the low 16 bits are used.
  /// @return false for an empty host, which leaves the object empty. Also false for port 0, although the object is
  ///         filled.
  bool CreateSocketAddr(const chInAddr &host, int port);
  /// The same with chInAddr(host). REQUIRES: see above.
  bool CreateSocketAddr(const std::string &host, int port);

  /// Sets family 0; the other bytes are unchanged.
  void reset();

  bool hasData() const;
  int family() const;

  /// @return The port in host byte order; 0 when empty.
  int port() const;

  /// @return The host; empty for a family that is neither AF_INET nor AF_INET6.
  chInAddr toInAddr() const;

  /// The object itself, reinterpreted.
  const sockaddr &toSocketAddr() const;

  /// Family, port and address are equal; flow information and scope are ignored. Two empty ones are equal.
  bool operator==(const chSocketAddr &other) const;
  bool operator!=(const chSocketAddr &other) const { return !(*this == other); }

  /// @return "1.2.3.4:80"; IPv6 without brackets; ":0" when empty.
  std::string toString() const;

  /// As in chInAddr, except that port 0 is rejected too and 0.0.254.169 is not.
  bool isValidLocalAddr() const;
  bool isValidRemoteAddr() const;

private:
  unsigned short m_family;
  unsigned short m_port; // network byte order
  unsigned m_ipv4;       // the IPv4 address; for IPv6 the flow information
  unsigned char m_ipv6[16];
  [[maybe_unused]] unsigned m_scope;
};

/// @return Whether the text is four numbers below 256 separated by dots, in at most 15 characters. White space and a
///         plus sign before a number are accepted; anything after the last one is not.
ZAR_API bool sockIsValidIPv4(const std::string &text);

/// @return Whether the text is eight groups of one to four hexadecimal digits separated by colons, optionally followed
///         by a slash and a number up to 128. Never returns once it reaches an empty group.
ZAR_API bool sockIsValidIPv6(const std::string &text);

/// Converts an IPv6 text, short form included. Pass the address alone: brackets, a port and a scope id are ignored on
/// Windows and rejected on Linux.
/// @param family  AF_INET6; any other is rejected.
/// @param dst     Receives 16 bytes; unchanged when the text is rejected.
/// @return 28, the length of a complete socket address; -1 when the text is rejected.
ZAR_API int sockInet_pton(int family, const char *text, void *dst);

/// Converts a 16-byte IPv6 address to its short text form.
/// @param size  Room at `dst` in characters, including the terminating NUL; 46 is enough.
/// @return `dst`; null when the family is not AF_INET6 or the text does not fit.
ZAR_API const char *sockInet_ntop(int family, const void *src, char *dst, int size);

/// Convert by inet_addr(), by sockInet_pton() and by the member. @return Always true, even for a rejected text: the
/// address is then 255.255.255.255, unchanged, and empty, respectively.
ZAR_API bool fromString(const std::string &text, in_addr &address);
ZAR_API bool fromString(const std::string &text, in6_addr &address);
ZAR_API bool fromString(const std::string &text, chInAddr &address);

/// The same texts as chInAddr::toString().
ZAR_API std::string toString(const in_addr &address);
ZAR_API std::string toString(const in6_addr &address);
ZAR_API std::string toString(const chInAddr &address);
