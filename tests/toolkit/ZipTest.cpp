#include "toolkit/ZipW.h"

#include <gmock/gmock.h>
#include <sys/resource.h>

#include <atomic>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <fstream>
#include <functional>
#include <thread>

#include "platform/Files.h"
#include "platform/Paths.h"
#include "platform/Text.h"
#include "tests/platform/TemporaryDirectory.h"

namespace {

using namespace Quorvel::FileAccess;

CkByteData bytes(const std::string& text) {
  CkByteData data;
  data.append(text.data(), text.size());
  return data;
}

std::string contentOf(const CkByteData& data) {
  return {data.getData(), data.getData() + data.getSize()};
}

std::string drawing(unsigned seed, unsigned numbers = 20000) {
  std::string text;
  for (unsigned i = 0; i < numbers; ++i) text += std::to_string((i * 7919 + seed) % 10007);
  return text;
}

std::string noise(std::size_t size) {
  std::string text(size, ' ');
  unsigned state = 1;
  for (char& c : text) c = static_cast<char>((state = state * 1664525 + 1013904223) >> 24U);
  return text;
}

/// An entry as its archive claims it to be; what is 0 or empty is true to the content.
struct Claim {
  std::string name;
  std::string stored;
  int method = 0;
  unsigned size = 0;
  unsigned storedSize = 0;
  unsigned crcChange = 0;
  unsigned mode = 0;
  unsigned flags = 0x800;
};

void put(std::string& out, unsigned value, int size) {
  for (int i = 0; i < size; ++i) out += static_cast<char>(value >> (8 * i));
}

std::string handmade(const std::vector<Claim>& claims) {
  std::string archive;
  std::string directory;
  for (const Claim& claim : claims) {
    std::string fields;
    put(fields, 20, 2);
    put(fields, claim.flags, 2);
    put(fields, static_cast<unsigned>(claim.method), 2);
    put(fields, 0x58210000, 4);
    put(fields, CkZipCrc::CalculateCrc(bytes(claim.stored)) ^ claim.crcChange, 4);
    const auto real = static_cast<unsigned>(claim.stored.size());
    put(fields, claim.storedSize > 0 ? claim.storedSize : real, 4);
    put(fields, claim.size > 0 ? claim.size : real, 4);
    put(fields, static_cast<unsigned>(claim.name.size()), 2);
    put(fields, 0, 2);
    directory += std::string("PK\1\2\x14\3", 6) + fields + std::string(6, '\0');
    put(directory, claim.mode << 16U, 4);
    put(directory, static_cast<unsigned>(archive.size()), 4);
    directory += claim.name;
    archive += "PK\3\4" + fields + claim.name + claim.stored;
  }
  std::string end("PK\5\6\0\0\0\0", 8);
  for (int i = 0; i < 2; ++i) put(end, static_cast<unsigned>(claims.size()), 2);
  put(end, static_cast<unsigned>(directory.size()), 4);
  put(end, static_cast<unsigned>(archive.size()), 4);
  return archive + directory + end + std::string(2, '\0');
}

class Zip : public TemporaryDirectoryTest {
 protected:
  bool open(const std::wstring& name) { return zip.OpenZip(path(name).c_str()); }
  bool create(const std::wstring& name) { return zip.NewZip(path(name).c_str()); }
  bool extract(const std::wstring& name) { return zip.Extract(path(name).c_str()); }
  std::string error() const { return platform::toUtf8(zip.lastErrorText()); }
  /// Runs a command in the test's directory.
  int run(const std::string& command) const {
    return std::system(("cd '" + root().string() + "' && (" + command + ") > /dev/null 2>&1").c_str());
  }
  bool has(const std::string& tool) const { return run("command -v " + tool) == 0; }

  CkZipW zip;
};

TEST_F(Zip, IsReadByOtherTools) {
  zip.NewZip(path(L"a.zip").c_str());
  const std::string text = drawing(1);
  ASSERT_TRUE(zip.AppendData(L"Pläne\\tb000001.zdw", bytes(text))) << error();
  ASSERT_TRUE(zip.AppendData(L"noise", bytes(noise(5000)))) << error();
  ASSERT_TRUE(zip.AppendData(L"empty", {})) << error();
  ASSERT_TRUE(zip.WriteZipAndClose()) << error();
  EXPECT_LT(read("a.zip").size(), text.size() * 3 / 4 + 5000);
  write("read.py",
        "import zipfile\nz = zipfile.ZipFile('a.zip')\nassert z.testzip() is None\n"
        "assert [(i.filename, i.compress_type, i.flag_bits) for i in z.infolist()] == "
        "[('Pl\\u00e4ne/tb000001.zdw', 8, 0x800), ('noise', 0, 0), ('empty', 0, 0)], z.infolist()\n");
  for (const std::string command : {"unzip -t a.zip", "7zz t a.zip", "python3 read.py"}) {
    const std::string tool = command.substr(0, command.find(' '));
    if (!has(tool)) GTEST_SKIP() << tool << " is missing";
    EXPECT_EQ(run(command), 0) << tool;
  }
}

TEST_F(Zip, MoreEntriesThanTheOldFormatHolds) {
  create(L"a.zip");
  for (int i = 0; i < 66000; ++i) ASSERT_TRUE(zip.AppendData(std::to_wstring(i).c_str(), bytes("x")));
  ASSERT_TRUE(zip.WriteZipAndClose()) << error();
  ASSERT_TRUE(open(L"a.zip")) << error();
  EXPECT_EQ(zip.get_NumEntries(), 66000);
  EXPECT_TRUE(zip.CheckContent()) << error();
  if (!has("7zz") || !has("unzip")) GTEST_SKIP() << "7zz or unzip is missing";
  EXPECT_EQ(run("7zz t a.zip && unzip -tq a.zip"), 0);
}

TEST_F(Zip, ReadsWhatOtherToolsWrite) {
  if (!has("zip") || !has("7zz") || !has("python3")) GTEST_SKIP() << "zip, 7zz or python3 is missing";
  write("in/Übersicht.txt", drawing(2));
  write("in/sub/b", noise(300));
  ASSERT_EQ(run("cd in && zip -r ../zip.zip . && mkdir hollow && 7zz a ../7z.zip ."), 0);
  ASSERT_EQ(run("python3 -m zipfile -c python.zip in/*"), 0);
  for (const std::wstring name : {L"zip", L"7z", L"python"}) {
    ASSERT_TRUE(open(name + L".zip")) << error();
    ASSERT_TRUE(extract(name + L"\\new")) << error();
    const std::string out = platform::toUtf8(name) + "/new/";
    EXPECT_EQ(read(out + "Übersicht.txt"), drawing(2));
    EXPECT_EQ(read(out + "sub/b"), noise(300));
    EXPECT_EQ(exists(out + "hollow"), name != L"zip");
    const auto age = std::filesystem::last_write_time(root() / "in/sub/b") -
                     std::filesystem::last_write_time(root() / (out + "sub/b"));
    EXPECT_LE(std::chrono::abs(age), std::chrono::seconds(2));
  }
}

TEST_F(Zip, DirectoriesThatDifferInLetterCaseBecomeOne) {
  write("c.zip", handmade({{"A/x", "1"}, {"a/y", "2"}, {"a/B/q", "3"}, {"A/b/r", "4"}}));
  ASSERT_TRUE(open(L"c.zip") && zip.CheckContent() && extract(L"new")) << error();
  EXPECT_FALSE(exists("new/a"));
  EXPECT_EQ(read("new/A/x") + read("new/A/y") + read("new/A/B/q") + read("new/A/B/r"), "1234");
}

TEST_F(Zip, LivesInMemory) {
  CkByteData archive;
  std::vector<std::size_t> sizes;
  for (const int level : {-3, 0, 1, 6, 9, 77}) {
    CkZipW made;
    const auto entry = made.AppendData(L"dir/tb000123.zdw", bytes(drawing(3)));
    ASSERT_TRUE(entry);
    made.SetCompressionLevel(level);
    ASSERT_TRUE(made.WriteToMemory(archive));
    sizes.push_back(archive.getSize());
  }
  EXPECT_EQ(sizes[0], sizes[1]);
  EXPECT_GT(sizes[1], sizes[2]);
  EXPECT_GT(sizes[2], sizes[3]);
  EXPECT_EQ(sizes[4], sizes[5]);
  ASSERT_TRUE(zip.OpenFromByteData(archive)) << error();
  EXPECT_FALSE(zip.GetEntryByName(L"dir/TB000123.zdw"));
  const auto entry = zip.FirstMatchingEntry(L"*.ZDW");
  ASSERT_TRUE(entry) << error();
  CkString name;
  entry->get_FileName(name);
  EXPECT_EQ(name.text(), L"dir/tb000123.zdw");
  CkByteData content;
  ASSERT_TRUE(entry->Inflate(content)) << error();
  EXPECT_EQ(contentOf(content), drawing(3));

  ASSERT_TRUE(entry->ExtractInto(path(L"flat").c_str())) << error();
  EXPECT_EQ(read("flat/tb000123.zdw"), drawing(3));
  write("new.zdw", "old");
  EXPECT_FALSE(entry->put_FileName(L"..\\new.zdw"));
  ASSERT_TRUE(entry->put_FileName(L"new.zdw")) << error();
  ASSERT_TRUE(entry->Extract(path(L"").c_str())) << error();
  EXPECT_EQ(read("new.zdw"), drawing(3));
  zip.CloseZip();
  EXPECT_FALSE(entry->Inflate(content));
  EXPECT_FALSE(zip.FirstMatchingEntry(L"*.zdw"));
  EXPECT_THAT(error(), testing::HasSubstr("*.zdw"));
}

TEST_F(Zip, AWriteTouchesNothingElse) {
  create(L"a.zip");
  zip.SetCompressionLevel(9);
  for (const wchar_t* name : {L"keep", L"gone", L"b.txt"}) ASSERT_TRUE(zip.AppendData(name, bytes(drawing(4))));
  ASSERT_TRUE(zip.WriteZipAndClose()) << error();
  const std::string before = read("a.zip");
  const std::string kept = before.substr(0, before.find("PK\3\4", 4));
  write("b.txt", drawing(5));
  const auto append = [&] {
    ASSERT_TRUE(open(L"a.zip")) << error();
    ASSERT_TRUE(zip.DeleteEntry(*zip.GetEntryByName(L"gone")));
    ASSERT_TRUE(zip.AppendOneFileOrDir(path(L"b.txt").c_str(), false)) << error();
    EXPECT_FALSE(zip.AppendData(L"KEEP", bytes("x")));
    EXPECT_EQ(zip.get_NumEntries(), 2);
  };

  append();
  std::filesystem::rename(root() / "b.txt", root() / "c.txt");
  EXPECT_FALSE(zip.WriteZipAndClose());
  EXPECT_THAT(error(), testing::AllOf(testing::HasSubstr("a.zip"), testing::HasSubstr("b.txt")));
  EXPECT_EQ(read("a.zip"), before);
  std::filesystem::rename(root() / "c.txt", root() / "b.txt");
  // As a disk that is full by the middle of the archive.
  std::signal(SIGXFSZ, SIG_IGN);
  const rlimit none{RLIM_INFINITY, RLIM_INFINITY};
  const rlimit small{before.size() / 2, RLIM_INFINITY};
  setrlimit(RLIMIT_FSIZE, &small);
  EXPECT_FALSE(zip.WriteZipAndClose());
  setrlimit(RLIMIT_FSIZE, &none);
  EXPECT_EQ(read("a.zip"), before);
  EXPECT_EQ(entryCount(), 2U);

  ASSERT_TRUE(zip.WriteZipAndClose()) << error();
  EXPECT_EQ(read("a.zip").substr(0, kept.size()), kept);
  ASSERT_TRUE(open(L"a.zip")) << error();
  ASSERT_TRUE(extract(L"out")) << error();
  EXPECT_EQ(read("out/b.txt"), drawing(5));
  EXPECT_FALSE(exists("out/gone"));

  write("taken/file");
  create(L"taken");
  ASSERT_TRUE(zip.AppendData(L"x", bytes("x")));
  EXPECT_FALSE(zip.WriteZipAndClose());
  EXPECT_EQ(entryCount("taken"), 1U);
}

TEST_F(Zip, AnEmptyArchiveIsOne) {
  write("empty.zip", handmade({{"only", "content"}}));
  ASSERT_TRUE(open(L"empty.zip")) << error();
  ASSERT_TRUE(zip.DeleteEntry(*zip.GetEntryByName(L"only")));
  ASSERT_TRUE(zip.WriteZipAndClose()) << error();
  ASSERT_TRUE(open(L"empty.zip")) << error();
  EXPECT_EQ(zip.get_NumEntries(), 0);
  EXPECT_TRUE(extract(L"out")) << error();
  CkByteData same;
  ASSERT_TRUE(zip.WriteToMemory(same)) << error();
  EXPECT_EQ(contentOf(same), read("empty.zip"));
}

TEST_F(Zip, PacksADirectoryWithoutWhatIsExcluded) {
  for (const char* name : {"p/a.txt", "p/Project1.Dat.xml", "p/sub/PROJECT1.dat.XML", "p/sub/b.zdw", "p/sub/LCK/x",
                           "p/Lck/y", "p/own.zip", "outside"}) {
    write(name);
  }
  std::filesystem::create_directory(root() / "p/hollow");
  std::filesystem::create_symlink("../outside", root() / "p/link");
  CkStringArrayW excluded;
  excluded.Append(L"Project1.Dat.xml");
  const auto names = [&](const wchar_t* pattern, bool recurse) {
    create(L"p\\own.zip");
    EXPECT_TRUE(zip.AppendFiles(path(pattern).c_str(), recurse)) << error();
    std::vector<std::wstring> result;
    while (const auto entry = zip.FirstMatchingEntry(L"*")) {
      CkString name;
      entry->get_FileName(name);
      result.push_back(name.text());
      zip.DeleteEntry(*entry);
    }
    return result;
  };
  EXPECT_EQ(names(L"p\\*", true).size(), 7U);
  zip.SetExclusions(excluded);
  zip.AddExcludedDirectory(L"Lck");
  EXPECT_THAT(names(L"p\\*", true), testing::UnorderedElementsAre(L"a.txt", L"hollow/", L"sub/b.zdw"));
  EXPECT_THAT(names(L"p\\*", false), testing::ElementsAre(L"a.txt"));
  EXPECT_FALSE(zip.AppendFiles(path(L"missing\\*").c_str(), true));
  const std::int32_t entriesBefore = zip.get_NumEntries();
  for (const wchar_t* name : {L"twice\\A.txt", L"twice\\B.txt", L"twice\\b.txt"}) {
    CreateDirectoryW(path(L"twice").c_str(), nullptr);
    std::ofstream(platform::systemPath(path(L"twice")) + "/" + platform::toUtf8(name).substr(6)) << "x";
  }
  EXPECT_FALSE(zip.AppendFiles(path(L"twice\\*").c_str(), true));
  EXPECT_EQ(zip.get_NumEntries(), entriesBefore) << "all or none";
}

TEST_F(Zip, AnEntryIsReadAsText) {
  const std::wstring wanted = L"Höhe \U0001F600\r\n";
  const std::string little("H\0\xF6\0h\0e\0 \0\x3D\xD8\0\xDE\r\0\n\0", 18);
  std::string big = little;
  for (std::size_t i = 0; i < big.size(); i += 2) std::swap(big[i], big[i + 1]);
  const struct {
    const wchar_t* charset;
    std::string content;
  } cases[] = {{L"utf-16", little},
               {L"utf-16", "\xFF\xFE" + little},
               {L"UTF-16", "\xFE\xFF" + big},
               {L"utf-8", platform::toUtf8(wanted)},
               {L"utf-8", "\xEF\xBB\xBF" + platform::toUtf8(wanted)}};
  for (const auto& [charset, content] : cases) {
    CkString out;
    EXPECT_TRUE(zip.AppendData(L"text", bytes(content))->UnzipToString(0, charset, out)) << error();
    EXPECT_EQ(out.text(), wanted);
  }
  CkString out;
  EXPECT_FALSE(zip.AppendData(L"text", bytes("odd"))->UnzipToString(0, L"utf-16", out));
}

TEST_F(Zip, RefusesWhatIsNoArchiveOrLies) {
  const std::string good = handmade({{"a", "content"}, {"b", "more"}});
  for (const std::string& bad : {std::string(), std::string("PK\3\4"), drawing(6), good.substr(0, good.size() - 9),
                                 handmade({{"no UTF-8 \xFF", "x"}})}) {
    write("bad.zip", bad);
    EXPECT_FALSE(open(L"bad.zip")) << bad.size();
    EXPECT_THAT(error(), testing::HasSubstr("bad.zip"));
  }
  EXPECT_FALSE(open(L"missing.zip"));
  EXPECT_FALSE(zip.WriteZipAndClose());
  EXPECT_FALSE(exists("missing.zip"));
  const std::string block("\x03\0", 2);
  const struct {
    std::vector<Claim> entries;
    const char* reason;
  } cases[] = {
      {{{"/etc/passwd", "x"}}, "relative"},
      {{{"C:/x", "x"}}, "relative"},
      {{{"C:x", "x"}}, "relative"},
      {{{"a/../../x", "x"}}, "relative"},
      {{{"..\\x", "x"}}, "relative"},
      {{{"a//x", "x"}}, "relative"},
      {{{"", "x"}}, "relative"},
      {{{"a/cOn.txt", "x"}}, "relative"},
      {{{"Lpt9", "x"}}, "relative"},
      {{{"x. ", "x"}}, "relative"},
      {{{"x.", "x"}}, "relative"},
      {{{"a?b", "x"}}, "relative"},
      {{{"a\tb", "x"}}, "relative"},
      {{{"link", "/etc", 0, 0, 0, 0, 0120777}}, "symbolic link"},
      {{{"device", "", 0, 0, 0, 0, 0060600}}, "neither"},
      {{{"dir/", "x"}}, "directory with content"},
      {{{"same/A", "x"}, {"SAME/a", "y"}}, "same name"},
      {{{"a", "x"}, {"A/b", "y"}}, "directory for another"},
      {{{"a/b", "x"}, {"A", "y"}}, "directory for another"},
      {{{"wrong", "x", 0, 0, 0, 1}}, "CRC-32"},
      {{{"longer", "x", 0, 2}}, "can't be"},
      {{{"huge", block, 8, 4000000000U}}, "can't be"},
      {{{"inflates", block, 8, 5}}, "deflate stream"},
      {{{"outside", "x", 0, 4000, 4000}}, "can't be"},
      {{{"one", "x", 0, 150, 150}, {"two", "x", 0, 150, 150}}, "overlap"},
      {{{"method", "x", 12}}, "method 12"},
      {{{"secret", "x", 0, 0, 0, 0, 0, 0x801}}, "encrypted"},
      {{{"jump/x", "x"}}, "leads out"},
  };
  for (const auto& [entries, reason] : cases) {
    std::filesystem::remove_all(root() / "out");
    std::filesystem::create_directory(root() / "out");
    std::filesystem::create_directory_symlink("..", root() / "out/jump");
    std::vector<Claim> all = entries;
    all.insert(all.begin(), {"first", "content"});
    const bool isToldAtOnce = std::string(reason) != "CRC-32" && std::string(reason) != "deflate stream";
    ASSERT_TRUE(zip.OpenFromByteData(bytes(handmade(all)))) << entries[0].name << error();
    EXPECT_FALSE(extract(L"out")) << entries[0].name;
    EXPECT_THAT(error(), testing::HasSubstr(reason)) << entries[0].name;
    EXPECT_EQ(entryCount("out"), isToldAtOnce ? 1U : 2U) << entries[0].name;
    EXPECT_FALSE(exists("x"));
  }
}

TEST_F(Zip, LargeFilesGoInPiecesAndTellHowFar) {
  struct Percents : CkZipProgressW {
    std::vector<int> told;
    int endAt = 1000;
    void PercentDone(int percent, bool* abort) override {
      told.push_back(percent);
      *abort = percent >= endAt;
    }
  } percents;
  const auto expectWhole = [&percents] {
    EXPECT_GE(percents.told.size(), 20U);
    EXPECT_TRUE(std::is_sorted(percents.told.begin(), percents.told.end(), std::less_equal<>()));
    EXPECT_EQ(percents.told.back(), 100);
    percents.told.clear();
  };
  constexpr std::uintmax_t kSize = (std::uintmax_t{65} << 20U) + 1;
  write("in/large", drawing(7));
  std::filesystem::resize_file(root() / "in/large", kSize);
  zip.put_EventCallbackObject(&percents);
  create(L"a.zip");
  zip.SetCompressionLevel(1);
  ASSERT_TRUE(zip.AppendFiles(path(L"in\\*").c_str(), true)) << error();
  percents.endAt = 50;
  EXPECT_FALSE(zip.WriteZipAndClose());
  EXPECT_FALSE(exists("a.zip"));
  percents.endAt = 1000;
  percents.told.clear();
  ASSERT_TRUE(zip.WriteZipAndClose()) << error();
  expectWhole();
  EXPECT_LT(read("a.zip").size(), kSize / 50);
  ASSERT_TRUE(open(L"a.zip")) << error();
  ASSERT_TRUE(extract(L"out")) << error();
  expectWhole();
  EXPECT_EQ(run("cmp in/large out/large"), 0);
}

TEST_F(Zip, ThreadsChangeNoByteAndEndWithAFailure) {
  for (unsigned i = 0; i < 60; ++i) {
    write("in/" + std::to_string(i), i % 9 == 4 ? noise(3000 * i) : drawing(i, i % 7 == 3 ? 90000 : i * 50));
  }
  std::ofstream(root() / "in/hole").close();
  std::filesystem::resize_file(root() / "in/hole", (std::uintmax_t{64} << 20U) + 1);
  const auto pack = [&](unsigned threads, CkByteData& out) {
    create(L"a.zip");
    zip.SetCompressionLevel(1);
    zip.SetThreads(threads);
    return zip.AppendFiles(path(L"in\\*").c_str(), true) && zip.WriteToMemory(out);
  };
  CkByteData alone;
  ASSERT_TRUE(pack(1, alone)) << error();
  CkByteData together;
  ASSERT_TRUE(pack(5, together)) << error();
  EXPECT_EQ(contentOf(together), contentOf(alone));
  ASSERT_TRUE(zip.OpenFromByteData(alone) && zip.CheckContent() && extract(L"out")) << error();
  EXPECT_EQ(run("diff -r in out"), 0);
  std::string damaged = contentOf(alone);
  damaged[damaged.size() / 2] ^= 1;
  ASSERT_TRUE(zip.OpenFromByteData(bytes(damaged))) << error();
  EXPECT_FALSE(zip.CheckContent());
  EXPECT_FALSE(extract(L"other"));
  EXPECT_THAT(error(), testing::HasSubstr("entry"));
  struct Ending : CkZipProgressW {
    void AbortCheck(bool* abort) override { *abort = true; }
  } ending;
  zip.put_EventCallbackObject(&ending);
  EXPECT_FALSE(extract(L"ended"));
  EXPECT_FALSE(pack(5, alone));
  zip.put_EventCallbackObject(nullptr);
  create(L"a.zip");
  ASSERT_TRUE(zip.AppendFiles(path(L"in\\*").c_str(), true));
  std::filesystem::remove(root() / "in/31");
  EXPECT_FALSE(zip.WriteZipAndClose());
  EXPECT_THAT(error(), testing::HasSubstr("31"));
}

TEST_F(Zip, NothingIsPackedTorn) {
  struct Writer : CkZipProgressW {
    std::function<void()> write;
    void PercentDone(int percent, bool* /*abort*/) override {
      if (percent > 50 && write) std::exchange(write, nullptr)();
    }
  } writer;
  const std::string database = std::string("SQLite format 3\0", 16) + drawing(1);
  write("in/a.db", database);
  write("in/a.db-wal", "log");
  write("in/b.txt", "text");
  write("in/c", noise(1000000));
  write("in/d", noise(1000000));
  zip.put_EventCallbackObject(&writer);
  const auto packWhile = [&](std::function<void()> work) {
    writer.write = std::move(work);
    create(L"a.zip");
    return zip.AppendFiles(path(L"in\\*").c_str(), true) && zip.WriteZipAndClose();
  };
  EXPECT_TRUE(packWhile([&] { write("in/b.txt", "other"); })) << error();
  for (const std::string part : {"in/a.db", "in/a.db-wal", "in/a.db-journal"}) {
    EXPECT_FALSE(packWhile([&] { write(part, database + "more"); })) << part;
    EXPECT_THAT(error(), testing::HasSubstr("a.db"));
  }
  EXPECT_TRUE(packWhile(nullptr)) << error();

  std::filesystem::resize_file(root() / "in/c", std::uintmax_t{65} << 20U);
  EXPECT_FALSE(packWhile([&] { std::filesystem::resize_file(root() / "in/c", std::uintmax_t{66} << 20U); }));
  std::filesystem::resize_file(root() / "in/c", 1000);
  EXPECT_THAT(error(), testing::AllOf(testing::HasSubstr("in"), testing::HasSubstr("was written")));

  constexpr std::size_t kPiece = 200000;
  std::atomic<bool> isDone = false;
  std::thread busy([&] {
    std::fstream file(root() / "in/b.txt");
    for (char c = 'a'; !isDone; c = c == 'z' ? 'a' : static_cast<char>(c + 1)) {
      file.seekp(0);
      for (int i = 0; i < 5; ++i) (file << std::string(kPiece, c)).flush();
      if (c % 5 == 0) std::this_thread::sleep_for(std::chrono::milliseconds(40));
    }
  });
  for (int i = 0; i < 6; ++i) {
    if (!packWhile(nullptr)) {
      EXPECT_THAT(error(), testing::HasSubstr("b.txt"));
      continue;
    }
    CkByteData content;
    ASSERT_TRUE(open(L"a.zip") && zip.GetEntryByName(L"b.txt")->Inflate(content)) << error();
    const std::string packed = contentOf(content);
    EXPECT_TRUE(packed == "text" || packed == "other" || packed == std::string(packed.size(), packed[0]));
  }
  isDone = true;
  busy.join();
  std::ofstream(root() / "in/bad\xFFname") << "x";
  EXPECT_FALSE(packWhile(nullptr)) << "a file that has no name here is not left out silently";
}

TEST_F(Zip, ArchivesWorkBesideEachOther) {
  std::vector<std::thread> threads;
  for (unsigned number = 0; number < 4; ++number) {
    threads.emplace_back([number] {
      for (int round = 0; round < 5; ++round) {
        CkZipW one;
        CkByteData archive;
        CkByteData back;
        one.SetCompressionLevel(1 + round);
        ASSERT_TRUE(one.AppendData(L"tb.zdw", bytes(drawing(number))));
        ASSERT_TRUE(one.WriteToMemory(archive));
        ASSERT_TRUE(one.OpenFromByteData(std::move(archive)));
        ASSERT_TRUE(one.FirstMatchingEntry(L"*.zdw")->Inflate(back));
        EXPECT_EQ(contentOf(back), drawing(number));
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
}

}  // namespace
