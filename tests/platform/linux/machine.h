// Lets a test see another machine: one with other disks, or with a kernel that lacks some calls.
#pragma once

#include <cstddef>
#include <fstream>
#include <functional>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/prctl.h>
#include <unistd.h>

namespace vestigo::test {

/// Runs the action on a thread whose system calls of these numbers fail with the error.
inline void whereCallsFail(const std::vector<unsigned>& calls, int error,
                           const std::function<void()>& action) {
    std::vector<sock_filter> rules{BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr))};
    for (const auto call : calls) {
        rules.push_back(BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, call, 0, 1));
        rules.push_back(
            BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ERRNO | static_cast<unsigned>(error)));
    }
    rules.push_back(BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW));
    const sock_fprog filter{static_cast<unsigned short>(rules.size()), rules.data()};
    std::thread([&] {
        ASSERT_EQ(::prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0), 0);
        ASSERT_EQ(::prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &filter), 0);
        action();
    }).join();
}

/// Mounts that only this process sees. They go with this object.
class OwnMounts {
public:
    OwnMounts() {
        const auto user = std::to_string(::geteuid());
        const bool isRoot = ::geteuid() == 0;
        possible_ =
            ::unshare(isRoot ? CLONE_NEWNS : CLONE_NEWUSER | CLONE_NEWNS) == 0 &&
            (isRoot ||
             (std::ofstream("/proc/self/uid_map") << user << " " << user << " 1").flush()) &&
            ::mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0;
    }
    ~OwnMounts() {
        for (const auto& place : places_) ::umount2(place.c_str(), MNT_DETACH);
    }
    OwnMounts(const OwnMounts&) = delete;
    OwnMounts& operator=(const OwnMounts&) = delete;

    /// An empty file system in memory. False where this cannot be done.
    [[nodiscard]] bool addDisk(const std::string& place) {
        return add("disk", place, "tmpfs", 0, "mode=755");
    }
    /// One file over another one. False where this cannot be done.
    [[nodiscard]] bool cover(const std::string& place, const std::string& by) {
        return add(by.c_str(), place, nullptr, MS_BIND, nullptr);
    }

private:
    bool add(const char* source, const std::string& place, const char* type, unsigned long flags,
             const char* options) {
        if (!possible_ || ::mount(source, place.c_str(), type, flags, options) != 0) return false;
        places_.push_back(place);
        return true;
    }

    bool possible_ = false;
    std::vector<std::string> places_;
};

}  // namespace vestigo::test
