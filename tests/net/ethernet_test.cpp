#include "zarlib/net/ethernet.h"

#include "tests/support/harness/child_process.h"
#include "tests/support/harness/files.h"
#include "tests/support/modules/recording_driver.h"
#include "zarlib/crash/api_hooker.h"
#include "zarlib/text/environment.h"

#include <gtest/gtest.h>

#include <thread>

using bytes = std::vector<unsigned char>;

#ifdef _WIN32

#include <windows.h>

static std::string shown;

static int WINAPI show(HWND owner, const char *text, const char *caption, UINT style) {
  shown += owner || caption || style != MB_ICONERROR ? "not so" : text;
  return IDOK;
}

TEST(Ethernet, FaultsWithoutADriverOnWindows) {
  if (chDynamicModule("Packet.dll").GetMethod("PacketGetVersion")) GTEST_SKIP() << "this machine has a driver";
  EXPECT_EQ(static_cast<unsigned>(harness::run("net_program").exit_code), 0xC0000005);
}

TEST(Ethernet, AsksTheDriverOnWindows) {
  const apiHooker message_box("USER32.dll", "MessageBoxA", reinterpret_cast<FARPROC>(reinterpret_cast<void *>(&show)),
                              nullptr);
  // A loaded module is found by its bare name, so the library uses this one.
  chDynamicModule module(harness::program_folder() + "recording_driver/Packet.dll");
  auto &state = *reinterpret_cast<driver_state *>(module.GetMethod("driver"));
  const std::string opened = "Open a\nSetHwFilter 1 32\nRequest 1 0 16843010 6\n", listed = "GetAdapterNames 8192\n";
  const struct {
    driver_state told;
    const char *name;
    std::string calls, shown;
  } openings[] = {{{"4.1", true}, "a", opened + "Close 1\n", ""},
                  {{"4.1", false}, "a", "Open a\n", ""},
                  {{"4.1", true, false}, "", listed, "No adapter found."},
                  {{"4.1", true, true}, "", listed, "bad_alloc"},
                  {{""}, "a", "", "Please WinPcap first !"},
                  {{nullptr}, "", "", "Please WinPcap first !"}};
  for (const auto &[told, name, calls, text] : openings) {
    shown.clear(), state = told;
    try {
      EXPECT_EQ(chEthernetSocket().CreateSocket(name), calls.find("Request") != std::string::npos);
    } catch (const std::bad_alloc &) {
      shown += "bad_alloc";
    }
    EXPECT_EQ(state.calls + shown, "Allocate\n" + calls + "Free\n" + text);
  }

  state = {};
  chEthernetSocket socket;
  const std::string payload(1487, 'p'), head("targetSOURCE\x88\xB5");
  EXPECT_FALSE(socket.Send("target", 0x88B5, payload.data(), 1)) << "closed";
  ASSERT_TRUE(socket.CreateSocket("a") && socket.CreateSocket("a"));
  EXPECT_EQ(state.calls, "Allocate\n" + opened + "Close 1\n" + opened) << "what is open is closed first";
  for (const int size : {0, 46, 1486, -1, INT_MIN, 1487, INT_MAX}) {
    const bool fits = size >= 0 && size < 1487;
    state.calls.clear(), state.sends = size != 46;
    EXPECT_EQ(socket.Send("target", 0x88B5, payload.data(), size), fits && size != 46);
    EXPECT_EQ(state.calls, fits ? "Allocate\nSend " + head + payload.substr(0, size) + " 1 1\nFree\n" : "");
  }

  const std::string before(16, '.'), near_record = before + std::string("\x14\0..", 4) + head;
  const std::string far_record = before + std::string("\x1A\0........", 10) + head, two = "ab" + near_record;
  const struct {
    std::string read, payload;
    int counted;
    bool reads = true;
  } reads[] = {{near_record + two, two, 70},  {far_record, "", 40},
               {near_record, "x", 34, false}, {near_record, "x", INT_MIN},
               {near_record, "x", 65537},     {near_record, "x", 33},
               {near_record, "x", 17},        {before + "\xFF\xFF", "x", 65536}};
  for (const auto &[read, after, counted, succeeds] : reads) {
    state.calls.clear(), state.read = read, state.counted = counted, state.reads = succeeds;
    const bool result = after != "x";
    char addresses[15] = "beforebefore..";
    unsigned short type = 1;
    bytes content = {'x'}, alone = {'x'};
    EXPECT_EQ(socket.Receive(addresses, addresses + 6, &type, content, 70), result);
    EXPECT_EQ(state.calls, "SetBuff 1 65536\nSetReadTimeout 1 70\nReceive 1 65536 1\n");
    EXPECT_EQ(socket.Receive(nullptr, nullptr, nullptr, alone, 70), result);
    EXPECT_TRUE(alone == content && type == (result ? 0x88B5 : 1));
    EXPECT_STREQ(addresses, result ? "SOURCEtarget.." : "beforebefore..");
    EXPECT_EQ(std::string(content.begin(), content.end()), after);
  }
}

#else

#include <sched.h>

TEST(Ethernet, IsRefusedAndToldWithoutADriverOnLinux) {
  const harness::temporary_directory folder;
  for (const char *name : {"libpcap.so.0.8", "libpcap.so.1", "libpcap.so"})
    harness::write_file(folder / name, "no library");
  const auto result = harness::run("net_program", {}, {{"LD_LIBRARY_PATH", folder.path()}});
  EXPECT_TRUE(result.exit_code == 0 && result.error == "Please WinPcap first !\n") << result.exit_code << result.error;
}

static void carry_frames() {
  const bytes left = {2, 0, 0, 0, 0, 10}, right = {2, 0, 0, 0, 0, 11}, stranger = {2, 1, 1, 1, 1, 1}, all(1487, 0x5A);
  chEthernetSocket sender, receiver, other;
  EXPECT_FALSE(other.CreateSocket("absent"));
  EXPECT_THROW(other.CreateSocket(""), std::bad_alloc);
  ASSERT_TRUE(sender.CreateSocket("left") && receiver.CreateSocket("right"));
  bytes source(6), target(6), payload;
  unsigned short type = 0;
  for (const int size : {0, 46, 1486})
    for (const bytes &to : {right, stranger, left}) {
      ASSERT_TRUE(sender.Send(to.data(), 0x88B5, all.data(), size));
      ASSERT_TRUE(receiver.Receive(source.data(), target.data(), &type, payload, 20000));
      EXPECT_TRUE(source == left && target == to && type == 0x88B5 && payload == bytes(size, 0x5A));
    }
  for (const int time : {20, -1}) EXPECT_FALSE(receiver.Receive(nullptr, nullptr, nullptr, payload, time));
  EXPECT_TRUE(payload.size() == 1486 && !sender.Send(right.data(), 1, all.data(), 1487));

  std::thread both([&] { // sends on the socket that the main thread receives from
    for (unsigned char i = 0; i < 50; ++i)
      EXPECT_TRUE(receiver.Send(left.data(), 1, &i, 1) && sender.Send(right.data(), 1, &i, 1));
  });
  for (unsigned char i = 0; i < 50; ++i)
    EXPECT_TRUE(receiver.Receive(nullptr, nullptr, nullptr, payload, 20000) && payload == bytes{i});
  both.join();

  EXPECT_EQ(std::system("ip -d link show right | grep -q 'promiscuity 1'"), 0);
  receiver.DestroySocket();
  EXPECT_EQ(std::system("ip -d link show right | grep -q 'promiscuity 0'"), 0);
  EXPECT_FALSE(receiver.Send(left.data(), 1, all.data(), 1) ||
               receiver.Receive(nullptr, nullptr, nullptr, payload, 9999));
}

TEST(Ethernet, CarriesFramesFromInterfaceToInterface) {
  if (!chDynamicModule("libpcap.so.0.8").GetMethod("pcap_create")) GTEST_SKIP() << "libpcap is not installed";
  bool skipped = false;
  std::thread wired([&skipped] { // in a network namespace with two connected interfaces
    const char *const wire = "ip link add left address 02:00:00:00:00:0a type veth peer name right address "
                             "02:00:00:00:00:0b && for i in left right; do ip link set $i addrgenmode none && "
                             "ip link set $i up || exit 1; done";
    skipped = unshare(CLONE_NEWNET) != 0 || std::system(wire) != 0;
    if (!skipped) carry_frames();
  });
  wired.join();
  if (skipped) GTEST_SKIP() << "no right to make a network, or no ip to make a pair of interfaces";
}

#endif
