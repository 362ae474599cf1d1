// BaseFile.
#include <array>
#include <bit>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <system_error>
#include <vector>

#include "c4d_events.h"
#include "c4d_file.h"

struct BaseFile::Data {
  enum class Last { none, read, write };
  std::FILE* file = nullptr;
  FILEERROR error = FILEERROR_NONE;
  Last last = Last::none;
  bool readable = false, writable = false;

  bool fail(FILEERROR what) {
    if (error == FILEERROR_NONE) error = what;
    return false;
  }
  // A stream needs a seek between a write and a read.
  bool turn(Last next) {
    if (last != Last::none && last != next && std::fseek(file, 0, SEEK_CUR) != 0) return fail(FILEERROR_SEEK);
    last = next;
    return true;
  }
};

namespace {

std::FILE* openStream(const char* path, FILEOPEN mode) {
  switch (mode) {
  case FILEOPEN_READ:
    return std::fopen(path, "rb");
  case FILEOPEN_WRITE:
    return std::fopen(path, "wb");
  case FILEOPEN_APPEND:
    return std::fopen(path, "ab");
  case FILEOPEN_READWRITE:
    if (std::FILE* file = std::fopen(path, "r+b")) return file;
    return errno == ENOENT ? std::fopen(path, "w+b") : nullptr;
  }
  return nullptr;
}

void tellOpenFailed(const Filename& name, FILEOPEN mode, int code) {
  const String reason(std::string_view(std::system_category().message(code)));
  const String what = mode == FILEOPEN_READ ? "reading" : "writing";
  MessageDialog("Cannot open \"" + name.GetString() + "\" for " + what + ": " + reason +
                ". Check the folder and your rights to it.");
}

// Integers, lowest byte first.
template <std::size_t count, class Word>
std::array<unsigned char, count> toBytes(Word word) {
  std::array<unsigned char, count> bytes;
  for (std::size_t i = 0; i < count; ++i)
    bytes[i] = static_cast<unsigned char>(word >> (8 * i));
  return bytes;
}

template <class Word, std::size_t count>
Word fromBytes(const std::array<unsigned char, count>& bytes) {
  Word word = 0;
  for (std::size_t i = 0; i < count; ++i)
    word |= static_cast<Word>(bytes[i]) << (8 * i);
  return word;
}

} // namespace

BaseFile::BaseFile() : data_(new Data) {
}

BaseFile::~BaseFile() {
  Close();
  delete data_;
}

BaseFile* BaseFile::Alloc() {
  return new (std::nothrow) BaseFile;
}

void BaseFile::Free(BaseFile*& file) {
  delete file;
  file = nullptr;
}

Bool BaseFile::Open(const Filename& name, FILEOPEN mode, FILEDIALOG dialog, LONG /*type*/, LONG /*creator*/) {
  Close();
  *data_ = Data();
  if (GeFExist(name, TRUE))
    errno = EISDIR;
  else
    data_->file = openStream(name.GetString().GetUTF8().c_str(), mode);
  if (!data_->file) {
    const int code = errno;
    data_->fail(FILEERROR_OPEN);
    if (dialog == FILEDIALOG_ANY) tellOpenFailed(name, mode, code);
    return FALSE;
  }
  data_->readable = mode == FILEOPEN_READ || mode == FILEOPEN_READWRITE;
  data_->writable = mode != FILEOPEN_READ;
  return TRUE;
}

Bool BaseFile::Close() {
  if (!data_->file) return TRUE;
  const bool flushed = std::fflush(data_->file) == 0;
  const bool closed = std::fclose(data_->file) == 0;
  data_->file = nullptr;
  if (data_->writable && (!flushed || !closed)) data_->fail(FILEERROR_WRITE);
  return data_->error != FILEERROR_WRITE;
}

LLONG BaseFile::ReadBytes(void* bytes, LLONG count, Bool exact) {
  if (!data_->file || !data_->readable || count < 0) return data_->fail(FILEERROR_READ), 0;
  if (!data_->turn(Data::Last::read)) return 0;
  const std::size_t got = std::fread(bytes, 1, static_cast<std::size_t>(count), data_->file);
  if (std::ferror(data_->file) || (exact && static_cast<LLONG>(got) != count)) data_->fail(FILEERROR_READ);
  return static_cast<LLONG>(got);
}

Bool BaseFile::WriteBytes(const void* bytes, LLONG count) {
  if (!data_->file || !data_->writable || count < 0) return data_->fail(FILEERROR_WRITE);
  if (!data_->turn(Data::Last::write)) return FALSE;
  const auto size = static_cast<std::size_t>(count);
  if (size > 0 && std::fwrite(bytes, 1, size, data_->file) != size) return data_->fail(FILEERROR_WRITE);
  return TRUE;
}

Bool BaseFile::ReadLong(LONG* value) {
  std::array<unsigned char, 4> bytes{};
  if (ReadBytes(bytes.data(), 4) != 4) return FALSE;
  *value = static_cast<LONG>(fromBytes<ULONG>(bytes));
  return TRUE;
}

Bool BaseFile::WriteLong(LONG value) {
  return WriteBytes(toBytes<4>(static_cast<ULONG>(value)).data(), 4);
}

Bool BaseFile::ReadReal(Real* value) {
  std::array<unsigned char, 8> bytes{};
  if (ReadBytes(bytes.data(), 8) != 8) return FALSE;
  *value = std::bit_cast<Real>(fromBytes<ULLONG>(bytes));
  return TRUE;
}

Bool BaseFile::WriteReal(Real value) {
  return WriteBytes(toBytes<8>(std::bit_cast<ULLONG>(value)).data(), 8);
}

Bool BaseFile::ReadString(String* value) {
  LONG count = 0;
  if (!ReadLong(&count)) return FALSE;
  if (count < 0 || count > GetLength() - GetPosition()) return data_->fail(FILEERROR_READ);
  std::string text(static_cast<std::size_t>(count), '\0');
  if (ReadBytes(text.data(), count) != count) return FALSE;
  *value = String(std::string_view(text));
  return TRUE;
}

Bool BaseFile::WriteString(const String& value) {
  const std::string& text = value.GetUTF8();
  if (text.size() > 0x7fffffff) return data_->fail(FILEERROR_WRITE);
  return WriteLong(static_cast<LONG>(text.size())) &&
         WriteBytes(text.data(), static_cast<LLONG>(text.size()));
}

Bool BaseFile::Seek(LLONG position, FILESEEK mode) {
  if (!data_->file) return data_->fail(FILEERROR_SEEK);
  const LLONG target = mode == FILESEEK_RELATIVE ? GetPosition() + position : position;
  if (target < 0 || fseeko(data_->file, static_cast<off_t>(target), SEEK_SET) != 0)
    return data_->fail(FILEERROR_SEEK);
  data_->last = Data::Last::none;
  return TRUE;
}

LLONG BaseFile::GetPosition() const {
  return data_->file ? static_cast<LLONG>(ftello(data_->file)) : 0;
}

LLONG BaseFile::GetLength() const {
  if (!data_->file) return 0;
  const off_t here = ftello(data_->file);
  if (fseeko(data_->file, 0, SEEK_END) != 0) return 0;
  const off_t length = ftello(data_->file);
  fseeko(data_->file, here, SEEK_SET);
  data_->last = Data::Last::none;
  return static_cast<LLONG>(length);
}

FILEERROR BaseFile::GetError() const {
  return data_->error;
}
