// Counted octets, lists, big numbers, and the trace that each thread keeps for itself.
#include "corvid/common.h"

#include <gtest/gtest.h>

#include <string>
#include <thread>

#include "support/support.h"

namespace corvid::test {

TEST(CountedOctets, AreCopiedAloneAndIntoLists) {
  Octets octets = Hex("0102");
  const BIN source{2, octets.data()};
  const BIN empty{0, octets.data()};
  Output copy;
  ASSERT_EQ(CVD_BIN_Copy(&copy, &source), 0u);
  CVD_BIN_LIST* list = nullptr;
  EXPECT_EQ(CVD_BIN_LIST_Add(&list, &empty), 0u);
  EXPECT_EQ(CVD_BIN_LIST_Add(&list, &source), 0u);
  octets[0] = 0xFF;
  EXPECT_EQ(copy.octets(), Hex("0102"));
  ASSERT_TRUE(list != nullptr && list->next != nullptr);
  EXPECT_EQ(Octets(list->data, list->data + list->length), Hex("0102"));
  EXPECT_EQ(list->next->data, nullptr);
  EXPECT_EQ(list->next->next, nullptr);
  CVD_BIN_LIST_Free(list);
}

TEST(BigNumber, IsReadAsNumberAndTextAndMadeMinimal) {
  const struct {
    const char* content;
    uint32_t number;
    const char* text;
    bool made;  // these are the contents that the number gives
  } rows[] = {
      {"00", 0, "00", true},
      {"0000", 0, "00", false},
      {"7F", 0x7F, "7f", true},
      {"0080", 0x80, "80", true},
      {"008000", 0x8000, "8000", true},
      {"0080000000", 0x80000000, "80000000", true},
      {"8001", 0xFFFF8001, "8001", false},  // negative: its sign is extended
      {"0102030405060708090A", 0x0708090A, "0102030405060708090a", false},
  };
  for (const auto& row : rows) {
    const Input content(row.content);
    const Huge huge{static_cast<uint16_t>(content.bin()->length), content.bin()->data};
    uint32_t number = 1;
    char* text = nullptr;
    Huge made{0, nullptr};
    EXPECT_EQ(CVD_HugeToNumEx(&huge, &number), 0u);
    EXPECT_EQ(number, row.number) << row.content;
    EXPECT_EQ(CVD_HugeToHexEx(&huge, &text), 0u);
    EXPECT_STREQ(text, row.text);
    EXPECT_EQ(CVD_NumToHugeEx(row.number, &made), 0u);
    EXPECT_EQ(Octets(made.data, made.data + made.length) == Hex(row.content), row.made) << row.text;
    CVD_free(text);
    CVD_free(made.data);
  }
}

TEST(Trace, KeepsTheThreadsNewestCutToTheirFieldsAndCountsTheLost) {
  CVD_Trace_Clear();
  const std::string longer(100, 'x');
  for (int32_t i = 0; i < CVD_TRACE_KEPT + 3; ++i) {
    CVD_Trace_PutError(i < 5 ? longer.c_str() : "f", i, nullptr, "file", 10 + i);
  }
  std::thread([] {
    CVD_Trace_PutError("there", 2, "", "", 1);
    EXPECT_EQ(TakeTrace(), "there 2\n");
  }).join();
  EXPECT_EQ(CVD_Trace_Count(), uint32_t{CVD_TRACE_KEPT});
  EXPECT_EQ(CVD_Trace_Lost(), 3u);
  CVD_TraceEntry entry;
  ASSERT_EQ(CVD_Trace_Get(0, &entry), 0u);
  EXPECT_EQ(entry.function, longer.substr(0, sizeof entry.function - 1));
  EXPECT_STREQ(entry.reason, "");
  EXPECT_EQ(entry.code, 3);
  EXPECT_EQ(entry.line, 13);
  ASSERT_EQ(CVD_Trace_Get(CVD_TRACE_KEPT - 1, &entry), 0u);
  EXPECT_STREQ(entry.function, "f") << "stands where a longer one stood";
  EXPECT_EQ(CVD_Trace_Get(CVD_TRACE_KEPT, &entry), uint32_t{CVD_ERR_INVALID_INPUT});
  CVD_Trace_Clear();
  EXPECT_EQ(CVD_Trace_Count() + CVD_Trace_Lost(), 0u);
}

}  // namespace corvid::test
