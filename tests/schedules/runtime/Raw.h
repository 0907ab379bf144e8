// SPDX-License-Identifier: MIT
// Raw: the functions of the C library that the runtime replaces.
#ifndef IXLAL_SCHEDULES_RAW_H
#define IXLAL_SCHEDULES_RAW_H

#include <cstddef>
#include <ctime>
#include <dlfcn.h>
#include <pthread.h>
#include <sys/types.h>

namespace schedules
{
/// The C library's own functions, found once. The parent of all schedules finds them, because the
/// search takes the loader's lock.
struct Raw
{
    void* (*dlsym)(void*, const char*);
    void* (*dlopen)(const char*, int);
    int (*dlclose)(void*);
    int (*dladdr)(const void*, Dl_info*);
    int (*dladdr1)(const void*, Dl_info*, void**, int);
    int (*dlinfo)(void*, int, void*);
    int (*pthreadCreate)(pthread_t*, const pthread_attr_t*, void* (*)(void*), void*);
    int (*pthreadJoin)(pthread_t, void**);
    int (*pthreadDetach)(pthread_t);
    long (*syscall)(long, ...);
    pid_t (*fork)();
    ssize_t (*pread)(int, void*, std::size_t, off64_t);
    int (*stat)(const char*, void*);
    int (*fstat)(int, void*);
    int (*mkdir)(const char*, mode_t);

    static const Raw& get();

    /// The C library's function of a name; ends the process if there is none.
    static void* find(const char* iName);
};
} // namespace schedules

#endif
