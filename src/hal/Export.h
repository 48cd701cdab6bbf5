// Marks what the shared library exports; everything else stays inside it.
#ifndef HAL_EXPORT_H
#define HAL_EXPORT_H

#if defined(__GNUC__)
#define VORN_API __attribute__((visibility("default")))
#else
#define VORN_API
#endif

#endif
