-- Dissects the packets of chSocketPacketTCP, in tshark and related tools.
--
-- A packet is its length without this header (4 bytes, most significant first), then the payload. The stream has no fixed port;
-- set yours, by the preference or for one run:
--
--     tshark -X lua_script:tools/zarlib_packet.lua -o zarlib_packet.port:7000 -r capture.pcap -O zarlib_packet
--     tshark -X lua_script:tools/zarlib_packet.lua -d tcp.port==7000,zarlib_packet -r capture.pcap
--
-- To load it always, put this file into the tool's folder of personal Lua plugins.

local HEADER = 4
local LIMIT = 0x400000

local packet = Proto("zarlib_packet", "ZARLib Packet")
local length_field = ProtoField.uint32("zarlib_packet.length", "Length", base.DEC)
local payload_field = ProtoField.bytes("zarlib_packet.payload", "Payload")
local too_long = ProtoExpert.new("zarlib_packet.too_long", "Length above 4 MiB: the receiver disconnects",
    expert.group.MALFORMED, expert.severity.ERROR)
packet.fields = { length_field, payload_field }
packet.experts = { too_long }
packet.prefs.port = Pref.uint("TCP port", 0, "The port of the streams; 0 for none")

-- After a length above the limit nothing is a packet, so the rest is consumed with it.
local function whole_length(buffer, _, offset)
  local length = buffer(offset, HEADER):uint()
  return length > LIMIT and buffer:len() - offset or HEADER + length
end

local function dissect(buffer, info, root)
  local length = buffer(0, HEADER):uint()
  local tree = root:add(packet, buffer())
  local item = tree:add(length_field, buffer(0, HEADER))
  info.cols.protocol = "ZARLIB"
  if length > LIMIT then
    item:add_proto_expert_info(too_long)
    info.cols.info = "Invalid length " .. length
    return buffer:len()
  end
  tree:append_text(", " .. length .. " bytes")
  if length > 0 then tree:add(payload_field, buffer(HEADER)) end
  info.cols.info = "Packet of " .. length .. " bytes"
  return buffer:len()
end

function packet.dissector(buffer, info, root)
  dissect_tcp_pdus(buffer, root, HEADER, whole_length, dissect)
  return buffer:len()
end

local ports = DissectorTable.get("tcp.port")
local port = 0
function packet.prefs_changed()
  if port ~= 0 then ports:remove(port, packet) end
  port = packet.prefs.port
  if port ~= 0 then ports:add(port, packet) end
end
ports:add_for_decode_as(packet)
