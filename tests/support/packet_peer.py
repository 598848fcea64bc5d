"""A chat client in another language: packet_peer.py PORT. Skips the welcome, and replies to each packet with its bytes reversed, sent
one at a time."""
import socket
import struct
import sys

peer = socket.create_connection(("127.0.0.1", int(sys.argv[1])))
peer.setsockopt(socket.IPPROTO_TCP, socket.TCP_NODELAY, 1)
stream = peer.makefile("rb")
print(stream.read(struct.unpack(">I", stream.read(4))[0]).decode(), flush=True)
while header := stream.read(4):
    (length,) = struct.unpack(">I", header)
    for byte in struct.pack(">I", length) + stream.read(length)[::-1]:
        peer.sendall(bytes([byte]))
