// An event that can be waited for together with ordinary sockets: chEvent_Socket.
//
//     chEvent_Socket stop; // signalled by any thread with stop.SetEvent(), by other processes with SendEvent(port)
//     if (!stop.OpenEventA()) return;
//     for (;;) {
//       chFD_SET ready(connection.fd());
//       ready.add(stop.GetEventSocket());
//       if (ready.readSelect(-1) > 0 && ready.isSet(stop.GetEventSocket()) && stop.WaitEvent(0)) return;
//       ...
//     }
//
// A signal is a one-byte datagram, "x" (0x78), to a UDP socket bound to 127.0.0.1; its content is ignored. The event is
// set while at least one is pending, and it counts: each signal sent satisfies one wait, up to what the system queues
// for a socket (a few hundred at least). Any program on the machine can send one: a signal proves nothing about its
// sender.
#pragma once

#include "zarlib/export.h"

#include <atomic>

/// The event. Any thread may signal it; one thread at a time waits for it or resets it.
///
///                closed                    open
///     OpenEventA opens                     1, nothing changes
///     SendEvent  0                         sends; replaces its own socket if that fails
///     SetEvent   0, and a trace            the same
///     WaitEvent  0 at once                 waits
///     ResetEvent nothing                   takes all signals
///     CloseEvent nothing                   closes; pending signals are lost
///
/// REQUIRES: nobody uses the event while it is being closed or destroyed.
class ZAR_API chEvent_Socket {
public:
  /// Closed.
  chEvent_Socket() = default;
  /// CloseEvent().
  ~chEvent_Socket();

  /// Opens the socket on a port chosen by the system. @return 1, or 0 when the system cannot provide a socket.
  int OpenEventA();
  void CloseEvent();

  /// Signals the event on that port, which may belong to another process on this machine.
  ///
  /// If this event's own socket fails it is replaced, and its port with it, in up to three attempts; the target stays
  /// the same. So SetEvent() repairs a broken event, although that signal went to the old port: see GetEventPort().
  /// @return 1 when the datagram was sent, which does not imply that it arrived; 0 for a port below 1 or a closed
  ///         event.
  int SendEvent(int port);

  /// Signals this event, see SendEvent(). A 0 is traced at level 7. Cost: one system call.
  int SetEvent();

  /// Waits for a signal and takes one. Cost: on Linux one system call if a signal is pending, three if it has to be
  /// waited for; on Windows two.
  /// @param timeoutMs  0 only checks; -1 waits without limit.
  /// @return 1 when a signal was taken, 0 on time-out and for a closed event. A failed receive, such as an empty
  ///         datagram, is also 0, after a pause of 100 ms so that a loop around it does not spin.
  int WaitEvent(int timeoutMs);

  /// Takes all pending signals.
  void ResetEvent();

  /// @return The port on which to signal this event, in host byte order; 0 when closed. It changes when the socket is
  ///         replaced.
  int GetEventPort() const { return m_own.load().port; }
  /// @return The handle to wait on; the invalid handle (0xFFFFFFFF) when closed.
  unsigned GetEventSocket() const { return m_own.load().socket; }

private:
  struct alignas(8) endpoint { // one word for every compiler
    unsigned socket;
    int port;
  };
  static constexpr endpoint closed() { return {0xFFFFFFFF, 0}; }

  ZAR_LOCAL static endpoint open_endpoint();
  ZAR_LOCAL void ResetSocket(endpoint broken);

  // Socket and port change together, because a signalling thread may replace them while another waits.
  std::atomic<endpoint> m_own{closed()};
};
