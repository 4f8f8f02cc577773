// PEM and base64. Input: a shape, then DER that is wrapped in it, or with shape 0 any text.
// Contract: what is read from PEM is what is read from its DER, for certificates and for revocation
// lists; base64 text that decodes is, but for white space, what encoding gives.
#include "corvid/codec.h"
#include "fuzz/input.h"

namespace {

using corvid::fuzz::Require;
using corvid::pkc::Octets;

// The lines of a block: `width` characters each, 0 for one line.
std::string Wrap(const char* label, Octets der, size_t width, const char* line_end) {
  corvid::pkc::Text base64;
  const BIN bin = der.bin();
  Require(CVD_BinToBase64(&bin, base64.out()) == 0, "octets encode");
  std::string pem = std::string("-----BEGIN ") + label + "-----" + line_end;
  std::string_view rest = base64.view();
  while (!rest.empty()) {
    const std::string_view line = rest.substr(0, width == 0 ? rest.size() : width);
    pem.append(line).append(line_end);
    rest.remove_prefix(line.size());
  }
  return pem + "-----END " + label + "-----" + line_end;
}

void CheckWrapped(Octets der, size_t width, const char* line_end) {
  if (der[0] != 0x30) return;  // what is PEM itself would be read as such
  const std::string pem = Wrap("CERTIFICATE", der, width, line_end);
  uint32_t of_der = 0;
  uint32_t of_pem = 0;
  const BIN bin = der.bin();
  const BIN pem_bin = Octets(std::string_view(pem)).bin();
  const uint32_t status = CVD_PKC_GetSignAlg(&of_der, &bin);
  Require(CVD_PKC_GetSignAlg(&of_pem, &pem_bin) == status && of_der == of_pem,
          "PEM tells the algorithm of its DER");

  const std::string crl = Wrap("X509 CRL", der, width, line_end);
  corvid::pkc::RevocationList from_der;
  corvid::pkc::RevocationList from_pem;
  const uint32_t loaded = from_der.Load(der).code();
  Require(from_pem.Load(std::string_view(crl)).code() == loaded,
          "a list loads from PEM as from its DER");
}

void CheckText(std::string_view octets) {
  const std::string text(octets.substr(0, octets.find('\0')));
  corvid::pkc::Bin der;
  if (CVD_Base64ToBin(text.c_str(), der.out()) != 0) return;
  corvid::pkc::Text again;
  Require(CVD_BinToBase64(&der.get(), again.out()) == 0, "what was decoded encodes");
  std::string packed;
  std::copy_if(text.begin(), text.end(), std::back_inserter(packed), [](char c) {
    return std::string_view(" \t\r\n").find(c) == std::string_view::npos;
  });
  Require(packed == again.view(), "base64 has one form");
}

}  // namespace

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  constexpr size_t kWidths[] = {64, 76, 1, 0};
  constexpr const char* kLineEnds[] = {"\n", "\r\n"};
  corvid::fuzz::Input input(data, size);
  const uint32_t shape = input.Below(9);
  const Octets rest = input.Rest();
  if (shape == 0) {
    CheckText(rest.text());
  } else if (!rest.empty()) {
    CheckWrapped(rest, kWidths[(shape - 1) / 2], kLineEnds[(shape - 1) % 2]);
  }
  return 0;
}
