// Messages between processes, one packet each:
//   packet_chat serve            opens a port chosen by the system, prints it, and forwards messages between clients
//   packet_chat join PORT NAME   sends the lines of standard input and prints the others' messages, to end of input
//   packet_chat stop EVENT       stops the server that printed this event number
// Any program that uses the same framing can be a client: four bytes of length, most significant first, then the text.
// Exit code 0; 1 with a line on standard error if a connection fails or times out; 2 for a wrong command line.
#include <zarlib/net/packet_tcp.h>
#include <zarlib/net/socket_event.h>

#if defined(_WIN32)
#include <ws2tcpip.h>
#endif

#include <cstdio>
#include <cstdlib>
#include <iostream>
#include <list>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace {

constexpr int answer_time = 5000, send_time = 1000;
constexpr size_t most_clients = 62; // a wait is limited to 64 handles
constexpr size_t longest_message = 4096;

int fail(const char *why) {
  std::fprintf(stderr, "packet_chat: %s\n", why);
  return 1;
}

int handle_of(const chSocketTCP &socket) { return static_cast<int>(socket.fd()); }

/// Disconnects a client that does not read, so that it does not block the others.
void send_text(chSocketPacketTCP &to, const std::string &text) {
  const bool reads = chFD_SET(handle_of(to)).writeSelect(send_time) > 0;
  if (!reads || !to.SendOnePacket(text.data(), static_cast<int>(text.size()))) to.Disconnect();
}

class server {
public:
  int run() {
    const int port = listen();
    if (port == 0 || !m_stop.OpenEventA()) return fail("no port to be had");
    std::printf("port %d, to be stopped by event %d\n", port, m_stop.GetEventPort());
    if (std::fflush(stdout) != 0) return fail("standard output cannot be written");
    while (serve_once()) {
    }
    std::printf("stopped\n");
    return 0;
  }

private:
  /// @return The port chosen by the system, or 0.
  int listen() {
    chSocketAddr address("127.0.0.1", 0);
    sockaddr *const raw = const_cast<sockaddr *>(&address.toSocketAddr());
    socklen_t length = sizeof address;
    if (!m_listener.CreateSocket(AF_INET) || !m_listener.Bind(address) || !m_listener.SocketListen(16)) return 0;
    return getsockname(m_listener.fd(), raw, &length) == 0 ? address.port() : 0;
  }

  /// Waits for activity and handles it. @return false if the event is set or the wait fails.
  bool serve_once() {
    chFD_SET ready(static_cast<int>(m_stop.GetEventSocket()));
    if (m_clients.size() < most_clients) ready.add(handle_of(m_listener));
    for (const auto &client : m_clients) ready.add(handle_of(client));
    if (ready.readSelect(-1) <= 0) return false;
    if (ready.isSet(static_cast<int>(m_stop.GetEventSocket())) && m_stop.WaitEvent(0)) return false;
    for (auto &client : m_clients)
      if (ready.isSet(handle_of(client))) take_messages(client);
    m_clients.remove_if([](const chSocketPacketTCP &client) { return !client.isConnected(); });
    if (ready.isSet(handle_of(m_listener))) welcome();
    return true;
  }

  void welcome() {
    chSocketAddr peer;
    m_clients.emplace_back();
    if (!m_listener.AcceptOnSocket(m_clients.back(), &peer, 0)) return m_clients.pop_back();
    send_text(m_clients.back(), "welcome, others: " + std::to_string(m_clients.size() - 1));
  }

  /// Handles all complete messages; an incomplete one stays in the client's buffer.
  void take_messages(chSocketPacketTCP &from) {
    std::vector<unsigned char> message;
    from.selectAndReceive(static_cast<int>(2 * longest_message), 0);
    while (from.ReceiveOnePacket(message, 0)) {
      if (message.size() > longest_message) return from.Disconnect();
      for (auto &to : m_clients)
        if (&to != &from && to.isConnected()) send_text(to, std::string(message.begin(), message.end()));
    }
  }

  chSocketTCPServer m_listener;
  chEvent_Socket m_stop;
  std::list<chSocketPacketTCP> m_clients;
};

/// The lines of standard input. One thread reads them, and an event wakes another, which waits on sockets.
class line_queue {
public:
  line_queue() { m_filled.OpenEventA(); }
  int handle() const { return static_cast<int>(m_filled.GetEventSocket()); }

  void read_all() {
    for (std::string line; std::getline(std::cin, line);) add(line, false);
    add("", true);
  }
  /// Takes what has been read. @return false once the input has ended.
  bool take(std::vector<std::string> &lines) {
    m_filled.ResetEvent();
    const std::lock_guard<std::mutex> guard(m_lock);
    lines.clear();
    lines.swap(m_lines);
    return !m_is_ended;
  }

private:
  void add(const std::string &line, bool is_end) {
    const std::lock_guard<std::mutex> guard(m_lock);
    if (!line.empty()) m_lines.push_back(line);
    m_is_ended = is_end;
    m_filled.SetEvent();
  }

  chEvent_Socket m_filled;
  std::mutex m_lock;
  std::vector<std::string> m_lines;
  bool m_is_ended = false;
};

void print(const std::vector<unsigned char> &message) {
  std::printf("%.*s\n", static_cast<int>(message.size()), reinterpret_cast<const char *>(message.data()));
  std::fflush(stdout);
}

int join(int port, const std::string &name) {
  chSocketPacketTCP connection;
  if (!connection.CreateSocket(AF_INET) || !connection.ConnectTo("127.0.0.1", port, answer_time))
    return fail("nobody serves there");
  std::vector<unsigned char> message;
  if (!connection.ReceiveOnePacket(message, answer_time)) return fail("no welcome in time");
  print(message);

  // Never destroyed: the reading thread may still be waiting for a line when the program ends.
  static line_queue &input = *new line_queue;
  std::thread([] { input.read_all(); }).detach();
  std::vector<std::string> lines;
  for (bool goes_on = true; goes_on;) {
    chFD_SET ready(handle_of(connection));
    ready.add(input.handle());
    if (ready.readSelect(-1) <= 0) return fail("the wait failed");
    if (ready.isSet(handle_of(connection))) connection.selectAndReceive(65535, 0);
    while (connection.ReceiveOnePacket(message, 0)) print(message);
    if (ready.isSet(input.handle())) goes_on = input.take(lines);
    for (const std::string &line : lines) send_text(connection, std::string(name).append(": ").append(line));
    lines.clear();
    if (!connection.isConnected()) return fail("the server has gone");
    if (std::ferror(stdout)) return fail("standard output cannot be written");
  }
  return 0;
}

int stop(int event_port) {
  chEvent_Socket own;
  return own.OpenEventA() && own.SendEvent(event_port) ? 0 : fail("the event cannot be signalled");
}

/// The port number in a text; 0 if there is none.
int port_of(const std::string &text) {
  const bool digits = text.size() <= 5 && text.find_first_not_of("0123456789") == std::string::npos;
  const int number = digits ? std::atoi(text.c_str()) : 0;
  return number <= 65535 ? number : 0;
}

} // namespace

int main(int argc, char **argv) {
  const std::vector<std::string> words(argv + 1, argv + argc);
  const std::string verb = words.empty() ? "" : words[0];
  if (verb == "serve" && words.size() == 1) return server().run();
  const int port = words.size() > 1 ? port_of(words[1]) : 0;
  if (verb == "join" && words.size() == 3 && port) return join(port, words[2]);
  if (verb == "stop" && words.size() == 2 && port) return stop(port);
  std::fprintf(stderr, "usage: packet_chat serve | join PORT NAME | stop EVENT\n");
  return 2;
}
