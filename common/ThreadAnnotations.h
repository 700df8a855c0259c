/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

// Clang's thread-safety attributes: they say in the type which lock guards what, and the compiler
// holds every access to it. Other compilers see nothing.
#if defined(__clang__)
#define ORVA_THREAD_ATTRIBUTE(attribute) __attribute__((attribute))
#else
#define ORVA_THREAD_ATTRIBUTE(attribute)
#endif

#define ORVA_CAPABILITY(name) ORVA_THREAD_ATTRIBUTE(capability(name))
#define ORVA_SCOPED_CAPABILITY ORVA_THREAD_ATTRIBUTE(scoped_lockable)
#define ORVA_GUARDED_BY(mutex) ORVA_THREAD_ATTRIBUTE(guarded_by(mutex))
#define ORVA_ACQUIRE(...) ORVA_THREAD_ATTRIBUTE(acquire_capability(__VA_ARGS__))
#define ORVA_RELEASE(...) ORVA_THREAD_ATTRIBUTE(release_capability(__VA_ARGS__))
#define ORVA_REQUIRES(...) ORVA_THREAD_ATTRIBUTE(requires_capability(__VA_ARGS__))
#define ORVA_RETURNS_MUTEX(mutex) ORVA_THREAD_ATTRIBUTE(lock_returned(mutex))
#define ORVA_EXCLUDES(...) ORVA_THREAD_ATTRIBUTE(locks_excluded(__VA_ARGS__))
#define ORVA_NO_THREAD_SAFETY_ANALYSIS ORVA_THREAD_ATTRIBUTE(no_thread_safety_analysis)
