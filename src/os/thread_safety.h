// Lock discipline written where clang's -Wthread-safety checks it; the
// annotations are nothing to other compilers.
#pragma once

#if defined(__clang__)
#define XDSP_THREAD_ANNOTATION(x) __attribute__((x))
#else
#define XDSP_THREAD_ANNOTATION(x)
#endif

#define XDSP_CAPABILITY(name) XDSP_THREAD_ANNOTATION(capability(name))
#define XDSP_SCOPED_CAPABILITY XDSP_THREAD_ANNOTATION(scoped_lockable)
#define XDSP_GUARDED_BY(x) XDSP_THREAD_ANNOTATION(guarded_by(x))
#define XDSP_PT_GUARDED_BY(x) XDSP_THREAD_ANNOTATION(pt_guarded_by(x))
#define XDSP_ACQUIRE(...) XDSP_THREAD_ANNOTATION(acquire_capability(__VA_ARGS__))
#define XDSP_RELEASE(...) XDSP_THREAD_ANNOTATION(release_capability(__VA_ARGS__))
#define XDSP_REQUIRES(...) XDSP_THREAD_ANNOTATION(requires_capability(__VA_ARGS__))
#define XDSP_NO_THREAD_SAFETY_ANALYSIS XDSP_THREAD_ANNOTATION(no_thread_safety_analysis)
