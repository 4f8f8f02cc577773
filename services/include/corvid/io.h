/* The I/O library (libCorvidIO): whole files. */
#ifndef CORVID_IO_H_
#define CORVID_IO_H_

#include "corvid/types.h"

#ifdef __cplusplus
extern "C" {
#endif

enum {
  CVD_IO_ERR_INVALID_INPUT = 8001,
  CVD_IO_ERR_MALLOC = 8002,
  CVD_IO_ERR_NOT_FOUND = 8003,
  CVD_IO_ERR_NO_PERMISSION = 8004,
  CVD_IO_ERR_NOT_REGULAR = 8005,
  CVD_IO_ERR_TOO_LARGE = 8006,
  CVD_IO_ERR_CHANGED = 8007,
  CVD_IO_ERR_READ = 8008
};

enum { CVD_IO_FILE_LIMIT = 64 * 1024 * 1024 }; /* bytes of the largest file that is read */

/* The library's version, "1.7.0.0". */
CVD_EXPORT const char* CVD_IO_GetVersion(void);
/* The short English reason of a code of this library, "" for any other; `selector` is not read. */
CVD_EXPORT const char* CVD_IO_GetErrorReason(uint32_t code, int32_t selector);

/* Reads the regular file at `path` whole. An empty file gives {0, null}. The caller releases `data`
 * with CVD_BIN_Reset. A file that grows or shrinks meanwhile is CVD_IO_ERR_CHANGED; a directory,
 * pipe or device CVD_IO_ERR_NOT_REGULAR (and is never waited for). */
CVD_EXPORT uint32_t CVD_File_ReadBin(BIN* data, const char* path);

#ifdef __cplusplus
}
#endif

#endif /* CORVID_IO_H_ */
