/// @file
/// Marks of the exported interface. Compiles as C11 and as C++17.
#ifndef TALVEX_EXPORT_H
#define TALVEX_EXPORT_H

/// @def TALVEX_API
/// Marks an export. TALVEX_STATIC is defined by whoever links the sources as a static library.
#if defined(TALVEX_STATIC)
#define TALVEX_API
#elif defined(_WIN32)
#if defined(TALVEX_BUILD)
#define TALVEX_API __declspec(dllexport)
#else
#define TALVEX_API __declspec(dllimport)
#endif
#else
#define TALVEX_API __attribute__((visibility("default")))
#endif

/// @def TALVEX_ASSERT_LAYOUT(condition)
/// Holds packed records to the offsets that hosts lay them out with.
#ifdef __cplusplus
#define TALVEX_ASSERT_LAYOUT(condition) static_assert(condition, "hosts lay out packed records")
#else
#define TALVEX_ASSERT_LAYOUT(condition) _Static_assert(condition, "hosts lay out packed records")
#endif

/// @def TALVEX_C_BEGIN
/// Opens declarations with C linkage.
/// @def TALVEX_C_END
/// Closes what TALVEX_C_BEGIN opened.
#ifdef __cplusplus
#define TALVEX_C_BEGIN extern "C" {
#define TALVEX_C_END }
#else
#define TALVEX_C_BEGIN
#define TALVEX_C_END
#endif

#endif /* TALVEX_EXPORT_H */
