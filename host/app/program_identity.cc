#include "app/program_identity.h"

#include <link.h>

#include <cstddef>
#include <cstring>
#include <string_view>

#include "app/version.h"
#include "network/pattern_ref.h"

namespace qiv {
namespace {

constexpr std::size_t aligned(std::size_t size) {
  return (size + 3) / 4 * 4;
}

/// The build identifier among the notes of a segment; empty if it is not there.
std::string_view build_identifier(const char* notes, std::size_t size) {
  constexpr std::string_view owner("GNU\0", 4);
  std::size_t at = 0;
  while (at + sizeof(ElfW(Nhdr)) <= size) {
    ElfW(Nhdr) header;
    std::memcpy(&header, notes + at, sizeof header);
    const std::size_t name = at + sizeof header;
    const std::size_t content = name + aligned(header.n_namesz);
    const std::size_t end = content + aligned(header.n_descsz);
    if (end > size) return {};
    if (header.n_type == NT_GNU_BUILD_ID &&
        std::string_view(notes + name, header.n_namesz) == owner) {
      return {notes + content, header.n_descsz};
    }
    at = end;
  }
  return {};
}

int add_build_identifiers(dl_phdr_info* object, std::size_t, void* hash) {
  for (int i = 0; i < object->dlpi_phnum; ++i) {
    const ElfW(Phdr)& segment = object->dlpi_phdr[i];
    if (segment.p_type != PT_NOTE) continue;
    // NOLINTNEXTLINE(performance-no-int-to-ptr): where the loader put the segment
    const auto* const notes = reinterpret_cast<const char*>(object->dlpi_addr + segment.p_vaddr);
    static_cast<StableHash*>(hash)->add(build_identifier(notes, segment.p_memsz));
  }
  return 0;
}

}  // namespace

std::string program_identity() {
  StableHash hash;
  dl_iterate_phdr(add_build_identifiers, &hash);
  return std::string(version) + " " + std::to_string(hash.value());
}

}  // namespace qiv
