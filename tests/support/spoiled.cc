#include "support/spoiled.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <sstream>

namespace corvid::test {

static bool ParseOne(const uint8_t** at, const uint8_t* end, bool inside_strings, Element* out) {
  const auto next = [&] { return *at == end ? uint8_t{0} : *(*at)++; };
  out->identifier.push_back(next());
  const uint8_t tag = out->identifier[0];
  if ((tag & 0x1F) == 0x1F) {
    do out->identifier.push_back(next());
    while (out->identifier.back() >= 0x80);
  }
  size_t length = next();
  if (length >= 0x80) {
    const size_t octets = length & 0x7F;
    length = 0;
    for (size_t i = 0; i < octets; ++i) length = length << 8 | next();
  }
  if (static_cast<size_t>(end - *at) < length) return false;
  const uint8_t* part = *at;
  *at += length;
  out->content.assign(part, *at);
  const bool string = inside_strings && length > 2 && (tag == 0x03 || tag == 0x04);
  if (!string && (tag & 0x20) == 0) return true;
  const Octets unused(part, part + (tag == 0x03 ? 1 : 0));  // bits
  std::vector<Element> parts;
  for (part += unused.size(); part != *at;) {
    parts.emplace_back();
    if (!ParseOne(&part, *at, inside_strings, &parts.back())) return true;
  }
  out->content = unused;
  out->parts = std::move(parts);
  return true;
}

Element Parse(const Octets& der) {
  const uint8_t* at = der.data();
  Element element;
  EXPECT_TRUE(ParseOne(&at, at + der.size(), false, &element));
  return element;
}

static Octets ContentOf(const Element& element) {
  Octets content = element.content;
  for (const Element& part : element.parts) {
    const Octets der = Encode(part);
    content.insert(content.end(), der.begin(), der.end());
  }
  return content;
}

Octets Encode(const Element& element) {
  if (element.instead) return *element.instead;
  const Octets der = Der(0, ContentOf(element));
  return Join({element.identifier, Octets(der.begin() + 1, der.end())});
}

using Faults = std::function<std::vector<Octets>(const Element&)>;

static std::vector<Octets> PlainFaults(const Element& element) {
  const Octets content = ContentOf(element);
  const Octets whole = Encode(element);
  const uint8_t tag = element.identifier[0];
  Octets other = content;
  if (!other.empty()) other[0] ^= 0x83;
  return {Hex("0500"),
          {},
          Join({whole, whole}),
          Der(tag, Octets{}),
          Der(tag, Join({content, Hex("00")})),
          Der(tag, other)};
}

static void AddLengths(uint8_t tag, const Octets& content, std::vector<Octets>* faults) {
  const auto low = static_cast<uint8_t>(content.size());
  const auto high = static_cast<uint8_t>(content.size() >> 8);
  for (const Octets& length : {Octets{0x80},
                               {0x81, low},
                               {0x82, high, low},
                               {0x84, 0, 0, high, low},
                               {0x85, 0, 0, 0, high, low},
                               {0x82, high, static_cast<uint8_t>(low + 1)},
                               {0x82, high, static_cast<uint8_t>(low - 1)}}) {
    faults->push_back(Join({{tag}, length, content}));
  }
}

static void AddTimes(std::vector<Octets>* faults) {
  std::istringstream times(
      "260101000000Z 2601010000Z 260101000000 260101000000+0900 261301000000Z 260229000000Z "
      "240229000000Z 260132000000Z 260431000000Z 260101240000Z 260101006000Z 260101000060Z "
      "490101000000Z 500101000000Z 000229000000Z -60101000000Z 20260101000000Z 20260101000000.5Z "
      "202601010000Z 19500101000000Z 99991231235959Z 00000101000000Z 21000229000000Z "
      "20000229000000Z Z");
  for (std::string time; times >> time;) {
    faults->push_back(Der(0x17, time));
    faults->push_back(Der(0x18, time));
  }
}

static std::vector<Octets> EncodingFaults(const Element& element) {
  std::vector<Octets> faults = PlainFaults(element);
  const Octets content = ContentOf(element);
  const uint8_t tag = element.identifier[0];
  AddLengths(tag, content, &faults);
  for (const uint8_t other : Hex("01020304050A0C1213141617181A1C1E1F24303180A0A1A3FF")) {
    faults.push_back(Der(other, content));
  }
  const auto add = [&](const Octets& other) { faults.push_back(Der(tag, other)); };
  if (tag == 0x17 || tag == 0x18) AddTimes(&faults);
  if (tag == 0x01) {
    for (const char* octets : {"00", "01", "7F", "0000"}) add(Hex(octets));
  }
  if (tag == 0x03 && !content.empty()) {
    for (uint8_t unused = 1; unused < 10; ++unused) {
      add(Join({{unused}, Octets(content.begin() + 1, content.end())}));
    }
  }
  for (const char* before : {"00", "FF", "80", "7F", "81", "0500", "3000", "0200", "0100"}) {
    if ((tag & 0x20) == 0 || before[2] != '\0') add(Join({Hex(before), content}));
  }
  if (element.parts.empty()) {
    Octets other = content;
    if (!other.empty()) other.back() ^= 0x41;
    add(other);
    add(Hex("010203040506"));
  } else {
    Element reversed = element;
    std::reverse(reversed.parts.begin(), reversed.parts.end());
    faults.push_back(Encode(reversed));
  }
  return faults;
}

static void AddVariants(const Element& root, Element* element, const Faults& faults,
                        std::vector<Octets>* variants) {
  const Octets whole = Encode(*element);
  for (const Octets& fault : faults(*element)) {
    if (fault == whole) continue;
    element->instead = fault;
    variants->push_back(Encode(root));
  }
  element->instead.reset();
  for (Element& part : element->parts) AddVariants(root, &part, faults, variants);
}

std::vector<Octets> Spoiled(const Octets& der) {
  std::vector<Octets> variants;
  const uint8_t* at = der.data();
  Element root;
  if (!ParseOne(&at, at + der.size(), true, &root)) return variants;
  AddVariants(root, &root, PlainFaults, &variants);
  return variants;
}

std::vector<Octets> SpoiledEncodings(const Octets& der) {
  std::vector<Octets> variants;
  Element root = Parse(der);
  AddVariants(root, &root, EncodingFaults, &variants);
  return variants;
}

}  // namespace corvid::test
