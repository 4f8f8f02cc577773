// Counted octets and lists of them.
#include <cstring>

#include "corvid/common.h"

void CVD_BIN_Reset(BIN* bin) {
  if (bin == nullptr) return;
  CVD_free(bin->data);
  *bin = {0, nullptr};
}

uint32_t CVD_BIN_Copy(BIN* destination, const BIN* source) {
  if (destination == nullptr || source == nullptr || source->length < 0) {
    return CVD_ERR_INVALID_INPUT;
  }
  if (source->length == 0) {
    *destination = {0, nullptr};
    return 0;
  }
  if (source->data == nullptr) return CVD_ERR_INVALID_INPUT;
  const auto size = static_cast<size_t>(source->length);
  auto* octets = static_cast<uint8_t*>(CVD_malloc(size));
  if (octets == nullptr) return CVD_ERR_MALLOC;
  std::memcpy(octets, source->data, size);
  *destination = {source->length, octets};
  return 0;
}

uint32_t CVD_BIN_LIST_Add(CVD_BIN_LIST** head, const BIN* item) {
  if (head == nullptr) return CVD_ERR_INVALID_INPUT;
  BIN copy{0, nullptr};
  if (const uint32_t status = CVD_BIN_Copy(&copy, item); status != 0) return status;
  auto* node = static_cast<CVD_BIN_LIST*>(CVD_malloc(sizeof(CVD_BIN_LIST)));
  if (node == nullptr) {
    CVD_BIN_Reset(&copy);
    return CVD_ERR_MALLOC;
  }
  *node = {*head, static_cast<uint32_t>(copy.length), copy.data};
  *head = node;
  return 0;
}

void CVD_BIN_LIST_Free(CVD_BIN_LIST* first) {
  while (first != nullptr) {
    CVD_BIN_LIST* next = first->next;
    CVD_free(first->data);
    CVD_free(first);
    first = next;
  }
}
