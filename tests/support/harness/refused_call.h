// Linux only: work done on a thread to which the system refuses some calls.
#pragma once

#include <functional>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <map>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <thread>
#include <vector>

namespace harness {

/// Runs `work` where each system call of the map (SYS_fsync) fails with its error (EIO). @return False, and nothing was
/// run, where the machine has no such filters.
inline bool run_refusing(const std::map<unsigned, unsigned> &calls, const std::function<void()> &work) {
  std::vector<sock_filter> code = {BPF_STMT(BPF_LD | BPF_W | BPF_ABS, 0)};
  for (const auto &[number, error] : calls) {
    code.push_back(BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, number, 0, 1));
    code.push_back(BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ERRNO | error));
  }
  code.push_back(BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW));
  const sock_fprog program = {static_cast<unsigned short>(code.size()), code.data()};
  bool filtered = false;
  std::thread([&] {
    filtered = prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) == 0 && prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &program) == 0;
    if (filtered) work();
  }).join();
  return filtered;
}

} // namespace harness
