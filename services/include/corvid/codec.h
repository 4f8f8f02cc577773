/* The codec library (libCorvidCodec): base64, hexadecimal, character sets. */
#ifndef CORVID_CODEC_H_
#define CORVID_CODEC_H_

#include "corvid/types.h"

#ifdef __cplusplus
extern "C" {
#endif

enum {
  CVD_CODEC_ERR_INVALID_INPUT = 3001,
  CVD_CODEC_ERR_MALLOC = 3002,
  CVD_CODEC_ERR_CODE_SET = 3003,
  CVD_CODEC_ERR_UNMAPPABLE = 3004,
  CVD_CODEC_ERR_TRUNCATED = 3005,
  CVD_CODEC_ERR_NO_ROOM = 3006,
  CVD_CODEC_ERR_BASE64 = 3007
};

/* The library's version, "1.7.0.0". */
CVD_EXPORT const char* CVD_Codec_GetVersion(void);
/* The short English reason of a code of this library, "" for any other; `selector` is not read. */
CVD_EXPORT const char* CVD_Codec_GetErrorReason(uint32_t code, int32_t selector);

/* Allocates the base64 text of `data` (RFC 4648 section 4), in one line; zero octets give "".
 * Released with CVD_free. */
CVD_EXPORT uint32_t CVD_BinToBase64(const BIN* data, char** text);
/* Decodes base64 text. White space (blank, tab, CR, LF) between the characters is skipped; padding
 * must be complete and last, unused bits zero. Anything else: CVD_CODEC_ERR_BASE64. The empty text
 * gives {0, null}. */
CVD_EXPORT uint32_t CVD_Base64ToBin(const char* text, BIN* data);
/* Allocates the lower-case hexadecimal text of the octets, two digits each. Released with CVD_free.
 * Zero octets give ""; null octets with a length are CVD_CODEC_ERR_INVALID_INPUT. */
CVD_EXPORT uint32_t CVD_BinToHex(const uint8_t* octets, uint32_t length, char** text);

/* Converts NUL-terminated text between the sets named "ko_KR-euc" (EUC-KR with all Hangul, code
 * page 949), "ja_JP-EUC", "ja_JP-SJIS" (code page 932) and "ko_KR-UTF-8" or "ja_JP-UTF-8".
 * `output` holds 2n + 1 bytes from UTF-8 to a local set, 6n + 1 the other way, n being the input's
 * length. Text that does not exist in the target set, or is not valid in its own, is an error,
 * never replaced: CVD_CODEC_ERR_UNMAPPABLE, _TRUNCATED; unknown set: _CODE_SET. After a failure
 * `output` holds the empty text. */
CVD_EXPORT uint32_t CVD_ConvCodeSet(const char* from, const char* to, const char* input,
                                    char* output);
/* Names the one set that CVD_DecodeBMPStr writes and CVD_EncodeUTF8 reads, with a name that
 * CVD_ConvCodeSet knows; for a UTF-8 one it is UTF-8 itself. "ko_KR-euc" at the start.
 * Process-wide; not to be changed while other threads convert. CVD_CODEC_ERR_CODE_SET for an
 * unknown name. */
CVD_EXPORT uint32_t CVD_Codec_SetLocalCodeSet(const char* locale);
/* Converts `count` UTF-16 units in host order (a BMPString; surrogate pairs are understood) into
 * NUL-terminated text of the local set. A unit of 0 ends the text. `output` holds 3 bytes a unit
 * plus one. Lone surrogates and text that does not exist in the set: CVD_CODEC_ERR_UNMAPPABLE or
 * _TRUNCATED. */
CVD_EXPORT uint32_t CVD_DecodeBMPStr(uint32_t count, const uint16_t* units, char* output);
/* Allocates the UTF-8 form of NUL-terminated text of the local set; `*length` excludes the NUL.
 * Released with CVD_free. */
CVD_EXPORT uint32_t CVD_EncodeUTF8(const char* input, char** output, uint32_t* length);

#ifdef __cplusplus
}
#endif

#endif /* CORVID_CODEC_H_ */
