#ifndef QIV_TESTS_QIV_ALGO_VIRTUAL_SLOT_H
#define QIV_TESTS_QIV_ALGO_VIRTUAL_SLOT_H

#if defined(__GXX_ABI_VERSION)
#define QIV_TEST_ITANIUM_ABI 1

#include <cstddef>
#include <cstring>

/// The slot of a virtual operation in its virtual table, counted from 0; a virtual destructor takes
/// two. By the Itanium C++ ABI a pointer to a virtual member holds the byte offset of the slot:
/// plus one, as the mark of a virtual member, but for ARM, which has the mark in the other word.
template <class Member>
std::size_t slot_of(Member member) {
  std::ptrdiff_t words[2];
  static_assert(sizeof member == sizeof words, "a pointer to member has two words");
  std::memcpy(words, &member, sizeof words);
#if !defined(__arm__) && !defined(__aarch64__)
  words[0] -= 1;
#endif
  return static_cast<std::size_t>(words[0]) / sizeof(void*);
}
#endif

#endif  // QIV_TESTS_QIV_ALGO_VIRTUAL_SLOT_H
