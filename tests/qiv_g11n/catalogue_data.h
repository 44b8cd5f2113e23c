#ifndef QIV_TESTS_G11N_CATALOGUE_DATA_H
#define QIV_TESTS_G11N_CATALOGUE_DATA_H

#include <string>
#include <vector>

/// A line of messages.inc.
struct CatalogueMessage {
  std::string identifier;
  std::string level;
  std::string function_name;
  std::vector<std::string> type_codes;

  std::string joined_type_codes() const;
};

/// A line of a language's file.
struct CatalogueText {
  std::string identifier;
  std::string text;
};

/// An entry of languages.inc with its file.
struct CatalogueLanguage {
  std::string code;
  std::vector<CatalogueText> texts;

  /// Empty if the language lacks the message.
  std::string text_of(const std::string& identifier) const;
};

std::vector<CatalogueMessage> catalogue_messages();
std::vector<CatalogueLanguage> catalogue_languages();

#endif
