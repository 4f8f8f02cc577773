// Extensions as text: flags, key purposes, basic constraints, general names and what carries them.
#include <gtest/gtest.h>

#include "pkc/extension_list.h"

namespace corvid::test {
namespace {

using Renderer = uint32_t (*)(char*, int32_t, uint32_t*, const CVD_ExtensionNode*);

template <uint32_t (*kFunction)(char*, int32_t, const CVD_ExtensionNode*)>
uint32_t NoFlags(char* text, int32_t capacity, uint32_t*, const CVD_ExtensionNode* list) {
  return kFunction(text, capacity, list);
}

uint32_t AltName(char* text, int32_t capacity, uint32_t*, const CVD_ExtensionNode* node) {
  return CVD_PKC_AltName_ToString(text, capacity, nullptr, 0, nullptr, 0, nullptr, 0, node);
}

const struct Operation {
  std::string function;
  int32_t oid;
  Renderer render;
} kOperations[] = {
    {"CVD_PKC_NSCertType_ToString", 162, CVD_PKC_NSCertType_ToString},
    {"CVD_PKC_KeyUsage_ToString", 128, CVD_PKC_KeyUsage_ToString},
    {"CVD_PKC_ExtKeyUsage_ToString", 139, CVD_PKC_ExtKeyUsage_ToString},
    {"CVD_PKC_BasicConsts_ToString", 135, NoFlags<CVD_PKC_BasicConsts_ToString>},
    {"CVD_PKC_AuthInfoAccess_ToString", 148, NoFlags<CVD_PKC_AuthInfoAccess_ToString>},
    {"CVD_PKC_CrlDistPoints_ToString", 138, NoFlags<CVD_PKC_CrlDistPoints_ToString>},
    {"CVD_PKC_AltName_ToString", 132, AltName},
};
enum Which { kType, kUsage, kPurpose, kBasic, kAccess, kCrl, kAlt };

Octets DirectoryName(const Octets& value) { return Der(0xA4, Name({{"2.5.4.3", value}})); }
Octets OtherName(const Octets& type, const char* value) {
  return Sequence({type, Der(0xA0, Hex(value))}, 0xA0);
}
Octets Access(const char* last, const Octets& location) {
  return Sequence({Oid(std::string("1.3.6.1.5.5.7.") + last), location});
}
Octets Point(const Octets& names, const Octets& rest = {}) {
  return Sequence({names.empty() ? names : Der(0xA0, Der(0xA0, names)), rest});
}

struct Value : Octets {
  Value(const char* hex) : Octets(Hex(hex)) {}
  Value(Octets octets) : Octets(std::move(octets)) {}
};
template <typename... Parts>
Value Of(const Parts&... parts) {
  return Sequence({parts...});
}

constexpr uint32_t kUnwritten = 0xEEEE;

struct Row {
  const char* name;
  Which which;
  Value value;
  std::string text;  // after a failure "" says that the array is untouched
  uint32_t flags = kUnwritten;
  size_t capacity = 1024;
  uint32_t status = 0;
};

TEST(Extensions, Texts) {
  const Octets textless = Der(0x06, Hex("2A" + std::string(40, 'F') + "7F"));  // 21 octets a number
  const Octets shown = DirectoryName(Der(0x0C, "Root"));
  const Octets unshown = DirectoryName(Hex("1300"));  // an empty value has no text
  const Octets server = Oid("1.3.6.1.5.5.7.3.1");
  const Octets stamping = Oid("1.3.6.1.5.5.7.3.8");
  const Octets relative = Der(0xA0, Der(0xA1, Sequence({Oid("2.5.4.3"), Der(0x0C, "List")})));
  const Octets ocsp = Access("48.1", Uri("o"));
  const std::string len = ", Path Length Constraint=";
  const Row rows[] = {
      {"SomeTypes", kType, "030205E0", "sslClient,sslServer,NetscapeCertType_smime", 0xE0},
      {"TypesCut", kType, "03020780", "sslC", 0x80, 6},
      {"TypeTag", kType, "04020080", "", kUnwritten, 9, 36033},
      {"Usages", kUsage, "03020106", "keyCertSign,cRLSign", 0x60},
      {"NinthUsage", kUsage, "0303078080", "digitalSignature,decipherOnly", 0x101},
      {"NoUsage", kUsage, "03020700", "", 0},
      {"UsageLongForm", kUsage, "0382000201 06", "keyCertSign,cRLSign", 0x60},
      {"ThirdOctetHidesTheSecond", kUsage, "030400068000", "keyCertSign,cRLSign", 0x60},
      {"UsageTag", kUsage, "04020080", "", kUnwritten, 9, 36036},
      {"UsageWithoutContent", kUsage, "030100", "", kUnwritten, 9, 36036},
      {"UsagePastTheEnd", kUsage, "03050080", "", kUnwritten, 9, 36036},
      {"Purposes", kPurpose, Of(stamping, Oid("1.2"), server),
       "id-kp-timeStamping,1.2,id-kp-serverAuth", 0x81},
      {"NoPurpose", kPurpose, "3000", "", 0},
      {"PurposesCut", kPurpose, Of(server, stamping), "id-kp-serverAu", 0x01, 16},
      {"PurposesOfTwo", kPurpose, Of(server, stamping), "", 0x01, 2},
      {"Ca", kBasic, "30030101FF", "Subject Type=CA" + len + "None"},
      {"CaOfLength", kBasic, "30060101FF020100", "Subject Type=CA" + len + "0"},
      {"LengthAlone", kBasic, "3003020103", "Subject Type=End Entity" + len + "3"},
      {"NoCa", kBasic, "3000", "Subject Type=End Entity"},
      {"Methods", kAccess, Of(ocsp, Access("48.2", shown), Access("2.1", Uri("p"))),
       "OCSP:URL=o\nCA:DN=cn=Root\nCPS:URL=p"},
      {"UnknownMethods", kAccess, Of(Access("48.5", Uri("u")), Sequence({textless, Uri("v")})),
       ":1.3.6.1.5.5.7.48.5URL=u\n:URL=v"},
      {"AccessCut", kAccess, Of(ocsp, ocsp), "OCSP:URL", kUnwritten, 9},
      {"AccessOfTwo", kAccess, Of(ocsp), "", kUnwritten, 2},
      {"LabelFillsTheArray", kAccess, Of(ocsp), "OCSP:", kUnwritten, 6, 36001},
      {"AccessUnshown", kAccess, Of(Access("48.2", unshown), ocsp), "CA:", kUnwritten, 99, 36032},
      {"ReasonsThenAnother", kCrl, Of(Point(Uri("u"), Hex("81020560")), Point(Uri("v"))),
       "URL=ureasonkeyCompromise|cACompromise|\n\nURL=v"},
      {"ReasonsAlone", kCrl, Of(Point(Uri("v")), Point({}, Hex("81020081"))),
       "URL=vreasonunused|\n"},
      {"RelativeNameHasNoLabel", kCrl, Of(Point(Uri("v")), Sequence({relative})), "URL=vcn=List"},
      {"UnshownIsLeftOut", kCrl, Of(Point(Join({unshown, Uri("u")}))), "URL=u"},
      {"Issuer", kCrl, Of(Point(Uri("v"), Der(0xA2, shown))), "URL=v\nDN=cn=Root"},
      {"PointsCut", kCrl, Of(Point(Uri("u")), Point(Uri("u"))), "URL=u", kUnwritten, 7},
      {"PointTag", kCrl, "30020500", "", kUnwritten, 9, 36033},
      {"MailAndDns", kAlt, Of(Der(0x81, "m@x"), Der(0x82, "x")), "RN=m@x\nDNS=x"},
      {"Addresses", kAlt, Of(Hex("87064142434400FF"), Hex("87040A0000FF")),
       "IP=ABCD\nIP=10.0.0.255"},
      {"OtherNames", kAlt, Of(OtherName(Oid("1.2.3"), "0C0141"), OtherName(Oid("2.5.4.4"), "0500")),
       "ON=1.2.3=0c0141\nON=SN=0500"},
      {"OtherNameTextless", kAlt, Of(OtherName(textless, "0500")), "ON=", kUnwritten, 99,
       0xFFFFFFFF},
      {"NamesOfThree", kAlt, Of(Uri("u"), Uri("v")), "UR", kUnwritten, 3},
      {"NameUnshown", kAlt, Of(Uri("u"), unshown), "URL=u\n", kUnwritten, 99, 36032},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.name);
    const Operation& operation = kOperations[row.which];
    ExtensionList list(operation.oid, row.value);
    const std::string before(row.capacity + 4, '#');
    std::string text = before;
    uint32_t flags = kUnwritten;
    CVD_Trace_Clear();
    const auto capacity = static_cast<int32_t>(row.capacity);
    EXPECT_EQ(operation.render(text.data(), capacity, &flags, list.get()), row.status);
    EXPECT_EQ(text.substr(row.capacity), "####") << "written past the array";
    EXPECT_EQ(text.c_str(), row.status != 0 && row.text.empty() ? before : row.text);
    EXPECT_EQ(flags, row.flags);
    const std::string own = operation.function + " " + std::to_string(int32_t(row.status)) + "\n";
    const std::string trace = TakeTrace();
    EXPECT_EQ(trace.find(own), row.status == 0 ? trace.npos : trace.size() - own.size()) << trace;
  }
}

TEST(Extensions, ShortArraysAreRefusedWithoutTraceAndAbsenceIsTraced) {
  for (const Operation& operation : kOperations) {
    SCOPED_TRACE(operation.function);
    ExtensionList other(CVD_OID_NAME_CONSTRAINTS, Hex("3000"));
    const bool searches = operation.render != AltName;
    char text[] = "###";
    CVD_Trace_Clear();
    EXPECT_EQ(operation.render(text, searches ? 1 : 2, nullptr, other.get()), 36001U);
    EXPECT_EQ(TakeTrace(), "");
    if (!searches) continue;
    EXPECT_EQ(operation.render(text, 3, nullptr, other.get()), 36061U);
    EXPECT_STREQ(text, "###");
    EXPECT_EQ(TakeTrace(), operation.function + " 36061\n");
  }
}

TEST(Extensions, LookUpStartsAtTheNodeGiven) {
  ExtensionList last(CVD_OID_KEY_USAGE, {});
  ExtensionList first(CVD_OID_KEY_USAGE, {});
  first.get()->next = last.get();
  const CVD_OID* usage = CVD_ASN_GetOID(CVD_OID_KEY_USAGE);
  EXPECT_EQ(CVD_GetExtension(first.get(), usage), &first.get()->extension);
  EXPECT_EQ(CVD_GetExtension(last.get(), usage), &last.get()->extension);
  EXPECT_EQ(CVD_GetExtension(first.get(), CVD_ASN_GetOID(CVD_OID_EXT_KEY_USAGE)), nullptr);
}

TEST(Extensions, IdentityDataFillsThreeTexts) {
  const Octets oid = Oid("1.2.410.200004.10.1.1");
  const char* vid_entry =
      "30260C034B696D301F301D060A2A831A8C9A440A010101"
      "300F300706052B0E03021AA0040402ABCD";
  const Octets kim = OtherName(oid, vid_entry);
  const Octets lee = OtherName(oid, "30070C034C65653000");  // without VID
  const struct {
    const char* name;
    Octets names;
    std::string texts;  // holder, hash, VID
    uint32_t status = 0;
    int32_t capacity = 50;  // of hash and VID
    int32_t oid = CVD_OID_SUBJECT_ALT_NAME;
  } rows[] = {
      {"Last", Join({Uri("u"), lee, kim}), "Kim|SHA1|abcd"},
      {"Issuer", kim, "#|#|#", 0, 50, CVD_OID_ISSUER_ALT_NAME},
      {"NameAlone", lee, "Lee|#|#"},
      {"Cut", kim, "Kim|SH|ab", 0, 3},
      {"VidTextTooSmall", kim, "Kim|S|#", 36001, 2},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.name);
    ExtensionList node(row.oid, Der(0x30, row.names));
    char text[1024];
    char holder[64] = "#";
    char vid[65] = "#";
    char hash[50] = "#";
    EXPECT_EQ(CVD_PKC_AltName_ToString(text, 1024, holder, 64, vid, row.capacity, hash,
                                       row.capacity, node.get()),
              row.status);
    EXPECT_EQ(std::string(holder) + "|" + hash + "|" + vid, row.texts);
  }
}

}  // namespace
}  // namespace corvid::test
