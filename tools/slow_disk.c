/* SPDX-License-Identifier: GPL-2.0-or-later */

// A slow disk for a program that has this library in LD_PRELOAD. A look at a path with "/slow/" in it takes as many
// milliseconds as the file says that SLOW_DISK names, a native int, and does not end while that is -1.

#define _GNU_SOURCE
#include <dlfcn.h>
#include <fcntl.h>
#include <stdlib.h>
#include <string.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

static void answer(const char *path)
{
	if (!path || !strstr(path, "/slow/"))
		return;
	static const volatile int *milliseconds;
	if (!milliseconds)
		milliseconds = mmap(NULL, sizeof(int), PROT_READ, MAP_SHARED, open(getenv("SLOW_DISK"), O_RDONLY), 0);
	while (*milliseconds < 0)
		usleep(20 * 1000);
	if (*milliseconds > 0)
		usleep((useconds_t)*milliseconds * 1000);
}

#define SLOW(name, parameters, arguments) \
	int name parameters \
	{ \
		answer(path); \
		static int(*next) parameters; \
		if (!next) \
			next = (int(*) parameters)dlsym(RTLD_NEXT, #name); \
		return next arguments; \
	}

SLOW(stat64, (const char *path, struct stat64 *result), (path, result))
SLOW(lstat64, (const char *path, struct stat64 *result), (path, result))
SLOW(access, (const char *path, int mode), (path, mode))
SLOW(statx, (int folder, const char *path, int flags, unsigned mask, struct statx *result),
     (folder, path, flags, mask, result))
