#pragma once

#include <cerrno>
#include <cstddef>
#include <functional>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <thread>

/// Runs `act` where no netlink socket can be opened, as in a service whose address families are restricted:
/// in a thread of its own, with which the restriction ends. False if this process may not restrict itself.
[[nodiscard]] inline bool withoutNetlink(const std::function<void()> &act)
{
    bool isRestricted = false;
    std::thread restricted([&] {
        static constexpr unsigned denied = SECCOMP_RET_ERRNO | EAFNOSUPPORT;
        sock_filter rules[] = {
            BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr)),
            BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, SYS_socket, 0, 3),
            BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, args)),
            BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, AF_NETLINK, 0, 1),
            BPF_STMT(BPF_RET | BPF_K, denied),
            BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW),
        };
        const sock_fprog program{sizeof rules / sizeof rules[0], rules};
        isRestricted = ::prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) == 0
                       && ::prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &program, 0, 0) == 0;
        if (isRestricted)
            act();
    });
    restricted.join();
    return isRestricted;
}
