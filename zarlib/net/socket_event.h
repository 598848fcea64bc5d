// An event that stands in the same wait as ordinary sockets: chEvent_Socket.
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
// A signal is a datagram of one byte, "x" (0x78), to a UDP socket that is bound to 127.0.0.1; what it holds is not looked at. The
// event is set as long as one waits there, and it counts: so many signals sent, so many waits succeed, up to what the system
// holds for a socket (a few hundred at least). Any program of the machine can send one: a signal proves nothing about its sender.
#pragma once

#include "zarlib/export.h"

#include <atomic>

/// The event. Any thread may signal it; one thread at a time waits for it or resets it.
///
///                closed                    open
///     OpenEventA opens                     1, nothing changes
///     SendEvent  0                         sends; an own socket that fails is replaced
///     SetEvent   0, and a trace            the same
///     WaitEvent  0 at once                 waits
///     ResetEvent nothing                   takes all signals
///     CloseEvent nothing                   closes; signals that wait are lost
///
/// REQUIRES: nobody uses the event while it is being closed or destroyed.
class ZAR_API chEvent_Socket {
public:
  /// Closed.
  chEvent_Socket() = default;
  /// CloseEvent().
  ~chEvent_Socket();

  /// Opens the socket on a port that the system picks. @return 1, or 0 when the system has no socket to give.
  int OpenEventA();
  void CloseEvent();

  /// Signals the event of that port, which may belong to another process of this machine.
  ///
  /// Where the own socket fails it is replaced, and with it the own port, in up to three attempts; the target stays. A broken event
  /// is so repaired by its own SetEvent(), though the signal went to the old port: look at GetEventPort().
  /// @return 1 when the datagram went out, which says nothing about its arrival; 0 for a port below 1 or a closed event.
  int SendEvent(int port);

  /// Signals this event, see SendEvent(). A 0 is traced at level 7. Cost: one call of the system.
  int SetEvent();

  /// Waits for a signal and takes one. Cost: on Linux one call of the system if one is there, else and on Windows two.
  /// @param timeoutMs  0 only looks; -1 waits without limit.
  /// @return 1 for a signal taken, 0 after the time and for a closed event. A receive that fails, an empty datagram for
  ///         instance, is 0 too, after a pause of 100 ms, so that a loop around it does not spin.
  int WaitEvent(int timeoutMs);

  /// Takes all signals that wait.
  void ResetEvent();

  /// @return The port to signal this event with, in host byte order; 0 when closed. It changes when the socket is replaced.
  int GetEventPort() const { return m_own.load().port; }
  /// @return The handle to wait on; the invalid handle (0xFFFFFFFF) when closed.
  unsigned GetEventSocket() const { return m_own.load().socket; }

private:
  struct alignas(8) endpoint { // one word to every compiler
    unsigned socket;
    int port;
  };
  static constexpr endpoint closed() { return {0xFFFFFFFF, 0}; }

  ZAR_LOCAL static endpoint open_endpoint();
  ZAR_LOCAL void ResetSocket(endpoint broken);

  // Socket and port change together, because a repair on a signalling thread replaces them under one that waits.
  std::atomic<endpoint> m_own{closed()};
};
