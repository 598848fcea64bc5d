"""The other end of a packet connection, on its own: packet_peer.py PORT. Answers each packet by its bytes in reverse order, sent one
by one, and then an empty packet."""
import socket
import struct
import sys

peer = socket.create_connection(("127.0.0.1", int(sys.argv[1])))
peer.setsockopt(socket.IPPROTO_TCP, socket.TCP_NODELAY, 1)
stream = peer.makefile("rb")
while header := stream.read(4):
    (length,) = struct.unpack(">I", header)
    answer = stream.read(length)[::-1]
    frame = struct.pack(">I", len(answer)) + answer
    for i in range(min(16, len(frame))):
        peer.sendall(frame[i : i + 1])
    peer.sendall(frame[16:] + struct.pack(">I", 0))
