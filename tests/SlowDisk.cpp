/* SPDX-License-Identifier: GPL-2.0-or-later */
#include "SlowDisk.hpp"

#include <condition_variable>
#include <csignal>
#include <cstring>
#include <mutex>

#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace {

std::mutex mutex;
std::condition_variable diskChanged;
const char *hanging = nullptr; // what the paths of its files hold; null: it answers
int asking = 0;

} // namespace

// Qt finds this one before libc's.
[[gnu::visibility("default")]] int statx(int folder, const char *path, int flags, unsigned mask,
					 struct statx *result) noexcept
{
	if (strstr(path, "hangs")) {
		std::unique_lock lock(mutex);
		asking++;
		diskChanged.notify_all();
		diskChanged.wait(lock, [path] { return !hanging || !strstr(path, hanging); });
		asking--;
	}
	return static_cast<int>(syscall(SYS_statx, folder, path, flags, mask, result));
}

void SlowDisk::hang(const char *name)
{
	const std::lock_guard lock(mutex);
	hanging = name;
	diskChanged.notify_all();
}

void SlowDisk::answer()
{
	hang(nullptr);
}

void SlowDisk::awaitQuestion()
{
	std::unique_lock lock(mutex);
	diskChanged.wait(lock, [] { return asking > 0; });
}

void SlowDisk::whileFull(const std::function<void()> &run)
{
	const rlimit full{1, RLIM_INFINITY}, free{RLIM_INFINITY, RLIM_INFINITY};
	const auto handler = signal(SIGXFSZ, SIG_IGN);
	setrlimit(RLIMIT_FSIZE, &full);
	run();
	setrlimit(RLIMIT_FSIZE, &free);
	signal(SIGXFSZ, handler);
}
