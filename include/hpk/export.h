/* Symbol visibility and C linkage for the exported ABI. Everything else is hidden. */
#ifndef HPK_EXPORT_H
#define HPK_EXPORT_H

#define HPK_API __attribute__((visibility("default")))

#ifdef __cplusplus
#define HPK_EXTERN_C_BEGIN extern "C" {
#define HPK_EXTERN_C_END }
#else
#define HPK_EXTERN_C_BEGIN
#define HPK_EXTERN_C_END
#endif

#endif
