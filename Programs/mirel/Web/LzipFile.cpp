#include <Programs/mirel/Web/LzipFile.h>

#include <Viewer/Kernel/Host/Core/Limits.h>

#include <libdeflate.h>
#include <lzma.h>

#include <cstddef>
#include <cstdint>
#include <new>

namespace mirel {

namespace {

// How far back repeats are looked for. Packers take eleven times as much memory.
constexpr int kLeastDictionaryPower = 12;
constexpr int kMostDictionaryPower = 23;

void AddNumber(std::string& file, std::uint64_t value, int bytes) {
  for (int i = 0; i < bytes; ++i) {
    file.push_back(static_cast<char>(value >> (8 * i)));
  }
}

}  // namespace

std::string LzipFile::Pack(std::string_view content) {
  int power = kLeastDictionaryPower;
  while (power < kMostDictionaryPower && (std::size_t{1} << power) < content.size()) {
    ++power;
  }
  // The settings that lzip files have by definition are those of liblzma's presets.
  lzma_options_lzma options = {};
  lzma_lzma_preset(&options, 9U | LZMA_PRESET_EXTREME);
  options.dict_size = std::uint32_t{1} << power;
  const lzma_filter filters[] = {{LZMA_FILTER_LZMA1, &options}, {LZMA_VLI_UNKNOWN, nullptr}};

  std::string file = "LZIP";
  AddNumber(file, 1, 1);
  AddNumber(file, static_cast<std::uint64_t>(power), 1);
  std::size_t size = file.size();
  // What cannot shrink grows a little.
  file.resize(size + content.size() + content.size() / 16 + 1024);
  if (lzma_raw_buffer_encode(filters, nullptr, reinterpret_cast<const std::uint8_t*>(content.data()),
                             content.size(), reinterpret_cast<std::uint8_t*>(file.data()), &size,
                             file.size()) != LZMA_OK) {
    throw std::bad_alloc();
  }
  file.resize(size);
  AddNumber(file, libdeflate_crc32(0, content.data(), content.size()), 4);
  AddNumber(file, content.size(), 8);
  AddNumber(file, file.size() + 8, 8);
  return content.size() <= kFreeContentBytes + kMaxContentRatio * file.size() ? file : std::string();
}

}  // namespace mirel
