#include "catalogue_data.h"

namespace {

std::vector<std::string> split(const std::string& type_codes) {
  std::vector<std::string> codes;
  for (const char c : type_codes) {
    if (c == '%') codes.emplace_back();
    codes.back() += c;
  }
  return codes;
}

}  // namespace

std::string CatalogueMessage::joined_type_codes() const {
  std::string joined;
  for (const std::string& code : type_codes) joined += code;
  return joined;
}

std::string CatalogueLanguage::text_of(const std::string& identifier) const {
  for (const CatalogueText& text : texts) {
    if (text.identifier == identifier) return text.text;
  }
  return std::string();
}

// clang-format off
std::vector<CatalogueMessage> catalogue_messages() {
#define QIV_MESSAGE(identifier, level, function_name, type_codes) \
  {identifier, #level, function_name, split(type_codes)},
  return {
#include "catalogue/messages.inc"
  };
#undef QIV_MESSAGE
}

std::vector<CatalogueLanguage> catalogue_languages() {
#define QIV_LANGUAGE(code) {#code, {
#define QIV_TEXT(identifier, text) {identifier, text},
#define QIV_END_LANGUAGE }},
  return {
#include "catalogue/languages.inc"
  };
#undef QIV_LANGUAGE
#undef QIV_TEXT
#undef QIV_END_LANGUAGE
}
// clang-format on
