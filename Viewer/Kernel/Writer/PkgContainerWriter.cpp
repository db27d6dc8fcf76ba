#include <Viewer/Kernel/Writer/PkgContainerWriter.h>

#include <Viewer/Kernel/Host/Gzip/ogzstream.h>
#include <Viewer/Kernel/Model/LogFailure.h>

#include <limits>

namespace mirel {

namespace {

void AppendLittleEndian(std::string& out, unsigned long long value, int count) {
  for (int i = 0; i < count; ++i)
    out += static_cast<char>((value >> (8 * i)) & 0xFF);
}

}  // namespace

PkgContainerWriter::PkgContainerWriter(int number) : number_(number) {}

PkgContainerWriter::~PkgContainerWriter() = default;

PkgContainerWriter::PkgContainerWriter(PkgContainerWriter&& other) noexcept = default;

PkgContainerWriter& PkgContainerWriter::operator=(PkgContainerWriter&& other) noexcept = default;

int PkgContainerWriter::AddItem(const ObjectId& id, const std::string& bytes) {
  if (bytes.size() >= std::numeric_limits<int>::max() - data_.size()) {
    MIREL_FAILURE("Item %s has %llu bytes, more than a package can hold: it is not written",
                  id.toString().c_str(), static_cast<unsigned long long>(bytes.size()));
    return GetDataSize();
  }
  ++itemCount_;
  AppendLittleEndian(table_, id.GetInteger(), 8);
  AppendLittleEndian(table_, data_.size(), 4);
  AppendLittleEndian(table_, bytes.size(), 4);
  data_ += bytes;
  return GetDataSize();
}

int PkgContainerWriter::GetDataSize() const {
  return static_cast<int>(data_.size());
}

std::string PkgContainerWriter::MakeContent() const {
  return MakeCount() + table_ + data_;
}

void PkgContainerWriter::Write(const std::string& folder) const {
  if (itemCount_ == 0) return;
  const std::string name = folder + std::to_string(number_) + ".gz";
  ogzstream stream(name.c_str(), static_cast<int>(std::ios_base::out));
  stream.write_str(MakeCount());
  stream.write_str(table_);
  stream.write_str(data_);
}

std::string PkgContainerWriter::MakeCount() const {
  std::string count;
  AppendLittleEndian(count, static_cast<unsigned int>(itemCount_), 4);
  return count;
}

}  // namespace mirel
