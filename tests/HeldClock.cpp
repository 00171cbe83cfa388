/* SPDX-License-Identifier: GPL-2.0-or-later */
#include "HeldClock.hpp"

#include <QAbstractEventDispatcher>
#include <QCoreApplication>

#include <algorithm>
#include <cerrno>
#include <ctime>

#include <dlfcn.h>
#include <pthread.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace {

constexpr qint64 nsPerMs = 1'000'000, nsPerSecond = 1000 * nsPerMs;
thread_local qint64 heldNs = 0;

} // namespace

// Qt finds this one before libc's.
int clock_gettime(clockid_t id, timespec *time) noexcept
{
	if (id != CLOCK_MONOTONIC || heldNs == 0)
		return static_cast<int>(syscall(SYS_clock_gettime, id, time));
	*time = {heldNs / nsPerSecond, heldNs % nsPerSecond};
	return 0;
}

// A wait on a condition lasts as long as it says, whatever time is held. The time of one in vain has passed: its caller
// looks at the clock, and would wait again.
int pthread_cond_clockwait(pthread_cond_t *condition, pthread_mutex_t *mutex, clockid_t id, const timespec *until)
{
	static const auto wait =
		reinterpret_cast<decltype(&pthread_cond_clockwait)>(dlsym(RTLD_NEXT, "pthread_cond_clockwait"));
	if (id != CLOCK_MONOTONIC || heldNs == 0)
		return wait(condition, mutex, id, until);
	timespec now;
	syscall(SYS_clock_gettime, id, &now);
	const qint64 left = until->tv_sec * nsPerSecond + until->tv_nsec - heldNs;
	const qint64 end = now.tv_sec * nsPerSecond + now.tv_nsec + left;
	const timespec real{end / nsPerSecond, end % nsPerSecond};
	const int result = wait(condition, mutex, id, &real);
	if (result == ETIMEDOUT)
		heldNs += std::max<qint64>(left, 0);
	return result;
}

// From a full second on, where Qt leaves the intervals of its coarse timers as they are.
void HeldClock::hold()
{
	heldNs = (nowMs() / 1000 + 1) * nsPerSecond;
}

qint64 HeldClock::nowMs()
{
	timespec time;
	clock_gettime(CLOCK_MONOTONIC, &time);
	return time.tv_sec * 1000 + time.tv_nsec / nsPerMs;
}

void HeldClock::pass(int ms)
{
	heldNs += ms * nsPerMs;
	while (QCoreApplication::eventDispatcher()->processEvents(QEventLoop::AllEvents)) {
	}
}
