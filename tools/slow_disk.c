/* SPDX-License-Identifier: GPL-2.0-or-later */

// A slow disk for a program that has this library in LD_PRELOAD. A look at a path with "/slow/" in it takes as many
// milliseconds as the file says that SLOW_DISK names. It does not end while that is -1, and neither does an open then.

#define _GNU_SOURCE
#include <dirent.h>
#include <dlfcn.h>
#include <fcntl.h>
#include <stdarg.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/stat.h>
#include <unistd.h>

static int delay(void)
{
	int milliseconds = -1; // while the file is being written
	FILE *file = fopen(getenv("SLOW_DISK"), "r");
	if (!file)
		return 0;
	if (fscanf(file, "%d", &milliseconds) != 1)
		milliseconds = -1;
	fclose(file);
	return milliseconds;
}

static void answer(const char *path, int isOpen)
{
	if (!path || !strstr(path, "/slow/"))
		return;
	int milliseconds = delay();
	for (; milliseconds < 0; milliseconds = delay())
		usleep(20 * 1000);
	if (!isOpen)
		usleep((useconds_t)milliseconds * 1000);
}

#define SLOW(type, name, isOpen, parameters, arguments) \
	type name parameters \
	{ \
		answer(path, isOpen); \
		return ((type(*) parameters)dlsym(RTLD_NEXT, #name)) arguments; \
	}

SLOW(int, stat, 0, (const char *path, struct stat *result), (path, result))
SLOW(int, stat64, 0, (const char *path, struct stat64 *result), (path, result))
SLOW(int, lstat64, 0, (const char *path, struct stat64 *result), (path, result))
SLOW(int, access, 0, (const char *path, int mode), (path, mode))
SLOW(int, statx, 0, (int folder, const char *path, int flags, unsigned mask, struct statx *result),
     (folder, path, flags, mask, result))
SLOW(DIR *, opendir, 1, (const char *path), (path))

#define SLOW_OPEN(name) \
	int name(const char *path, int flags, ...) \
	{ \
		va_list more; \
		va_start(more, flags); \
		const mode_t mode = va_arg(more, mode_t); \
		va_end(more); \
		answer(path, 1); \
		return ((int (*)(const char *, int, ...))dlsym(RTLD_NEXT, #name))(path, flags, mode); \
	}

SLOW_OPEN(open)
SLOW_OPEN(open64)
