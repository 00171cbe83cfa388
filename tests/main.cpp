/* SPDX-License-Identifier: GPL-2.0-or-later */
#include "HeldClock.hpp"
#include "Host.hpp"

#include <QApplication>

#include <csignal>
#include <cstdio>
#include <filesystem>
#include <thread>

#include <dlfcn.h>
#include <execinfo.h>
#include <sys/syscall.h>
#include <unistd.h>

using namespace std::chrono_literals;

// In the sanitizers' libraries, which know the names of our own functions, too.
extern "C" void __sanitizer_print_stack_trace() __attribute__((weak));

namespace {

void printStack(int)
{
	if (__sanitizer_print_stack_trace) {
		__sanitizer_print_stack_trace();
		return;
	}
	void *frames[64];
	backtrace_symbols_fd(frames, backtrace(frames, 64), STDERR_FILENO);
}

// Ends a run that hangs, with the stack of every thread.
void watch()
{
	for (quint64 seen = 0; seen != progress;) {
		seen = progress;
		std::this_thread::sleep_for(120s);
	}
	std::fprintf(stderr, "Nothing has gone on for two minutes.\n");
	// libc's own: the thread sanitizer's keeps a signal from a thread that waits for a lock.
	void *libc = dlopen("libc.so.6", RTLD_LAZY);
	reinterpret_cast<decltype(&std::signal)>(dlsym(libc, "signal"))(SIGUSR2, printStack);
	for (const auto &task : std::filesystem::directory_iterator("/proc/self/task")) {
		const int id = std::stoi(task.path().filename());
		std::fprintf(stderr, "\nThread %d:\n", id);
		syscall(SYS_tgkill, getpid(), id, SIGUSR2);
		std::this_thread::sleep_for(500ms);
	}
	std::_Exit(EXIT_FAILURE);
}

} // namespace

int main(int argc, char **argv)
{
	QApplication app(argc, argv);
	QApplication::setQuitOnLastWindowClosed(false);
	testing::InitGoogleTest(&argc, argv);
	HeldClock::hold();
	passTime = HeldClock::pass;
	progress++;
	std::thread(watch).detach();
	return RUN_ALL_TESTS();
}
