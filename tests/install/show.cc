// The C++ layer from the installed headers alone.
#include <corvid/pkc.hpp>
#include <iostream>

int main(int argc, char** argv) {
  CVD_PKC_SetOption("locale", "ko_KR-UTF-8");
  corvid::pkc::Bin der;
  corvid::pkc::Certificate certificate;
  corvid::pkc::Text subject;
  corvid::pkc::Status status = corvid::pkc::ReadFile(argc == 2 ? argv[1] : "", &der);
  if (status.ok()) status = certificate.Decode(der.octets());
  if (status.ok()) status = NameText(certificate->tbsCertificate.subject, &subject);
  if (!status.ok()) {
    std::cerr << status.code() << ' ' << status.reason() << '\n';
    return 1;
  }
  std::cout << subject.view() << '\n';
}
