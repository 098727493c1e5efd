// Where the bytes of an archive lie: a file or memory, to read and to write. Internal to the toolkit.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "toolkit/ArrivingFile.h"
#include "toolkit/ByteData.h"
#include "toolkit/OpenFile.h"

namespace Quorvel::FileAccess {

/// The bytes of an archive that is there. Failures leave why in the thread's last error. Belongs to one thread.
class IZipInput {
 public:
  virtual ~IZipInput() = default;
  virtual std::uint64_t size() const = 0;
  /// @param read  bytes; fewer than `count` at the end only
  virtual bool read(std::uint64_t position, void* buffer, std::size_t count, std::size_t& read) = 0;
  /// Lets the file be replaced; the next read opens it again.
  virtual void release() {}
};

class ZipMemoryInput final : public IZipInput {
 public:
  explicit ZipMemoryInput(CkByteData data) : data_(std::move(data)) {}
  std::uint64_t size() const override { return data_.getSize(); }
  bool read(std::uint64_t position, void* buffer, std::size_t count, std::size_t& read) override;

 private:
  CkByteData data_;
};

/// Nobody may write to the file while it is open.
class ZipFileInput final : public IZipInput {
 public:
  explicit ZipFileInput(std::wstring path) : path_(std::move(path)) {}
  /// To be called first. @return false when the file can't be read
  bool open();
  std::uint64_t size() const override { return size_; }
  bool read(std::uint64_t position, void* buffer, std::size_t count, std::size_t& read) override;
  void release() override { file_.reset(); }

 private:
  std::wstring path_;
  std::optional<OpenFile> file_;
  std::uint64_t size_ = 0;
  std::uint64_t position_ = 0;
};

/// The bytes of an archive to be. Nothing is seen of them before commit().
class IZipOutput {
 public:
  virtual ~IZipOutput() = default;
  virtual bool begin() = 0;
  virtual bool write(const void* data, std::size_t size) = 0;
  virtual bool seek(std::uint64_t position) = 0;
  virtual std::uint64_t position() const = 0;
  virtual std::uint64_t size() const = 0;
  virtual bool commit() = 0;
  virtual void rollBack() = 0;
};

class ZipMemoryOutput final : public IZipOutput {
 public:
  bool begin() override;
  bool write(const void* data, std::size_t size) override;
  bool seek(std::uint64_t position) override;
  std::uint64_t position() const override { return position_; }
  std::uint64_t size() const override { return bytes_.size(); }
  bool commit() override { return true; }
  void rollBack() override { bytes_.clear(); }
  CkByteData take() { return CkByteData(std::move(bytes_)); }

 private:
  std::vector<std::uint8_t> bytes_;
  std::size_t position_ = 0;
};

class ZipFileOutput final : public IZipOutput {
 public:
  explicit ZipFileOutput(std::wstring path) : path_(std::move(path)) {}
  bool begin() override;
  bool write(const void* data, std::size_t size) override;
  bool seek(std::uint64_t position) override;
  std::uint64_t position() const override { return position_; }
  std::uint64_t size() const override { return size_; }
  bool commit() override { return file_->takePlace(); }
  void rollBack() override { file_.reset(); }

 private:
  std::wstring path_;
  std::optional<ArrivingFile> file_;
  std::uint64_t position_ = 0;
  std::uint64_t size_ = 0;
};

}  // namespace Quorvel::FileAccess
