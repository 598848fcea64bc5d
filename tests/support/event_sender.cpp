// Signals an event of another process: event_sender PORT
#include "zarlib/net/socket_event.h"

#include <cstdlib>

int main(int, char **arguments) {
  chEvent_Socket own;
  return own.OpenEventA() && own.SendEvent(std::atoi(arguments[1])) ? 0 : 1;
}
