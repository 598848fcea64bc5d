// Linux only: work done on a thread to which the system refuses some calls.
#pragma once

#include <cstddef>
#include <functional>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <thread>
#include <vector>

namespace harness {

struct refused_call {
  long number; ///< as SYS_fsync
  int error;   ///< as EIO
};

/// Runs `work` on a thread of its own. @return False, and nothing was run, where the machine has no such filters.
inline bool run_refusing(const std::vector<refused_call> &calls, const std::function<void()> &work) {
  bool filtered = false;
  std::thread([&] {
    std::vector<sock_filter> code = {BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr))};
    for (const refused_call &call : calls) {
      code.push_back(BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, static_cast<unsigned>(call.number), 0, 1));
      code.push_back(BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ERRNO | static_cast<unsigned>(call.error)));
    }
    code.push_back(BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW));
    const sock_fprog program = {static_cast<unsigned short>(code.size()), code.data()};
    filtered = prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) == 0 && prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &program) == 0;
    if (filtered) work();
  }).join();
  return filtered;
}

} // namespace harness
