// The settings file on disk: where it lives, what it looks like, damaged and
// unwritable stores, and several processes writing at once.
#include "app/settings/TextFileStore.h"

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include "app/settings/SettingKeys.h"
#include "app/settings/SettingsFile.h"
#include "tests/app/settings/SettingsFixture.h"
#include "tests/support/TempDir.h"

namespace vivark::settings {
namespace {

BoolSetting& saveGifInterlace = test::settingOf<BoolSetting>("SaveOptions\\GIF\\Interlace");
IntSetting& saveTiffCompressionColor =
    test::settingOf<IntSetting>("SaveOptions\\TIFF\\Compression\\Color");

using test::dword;
using test::readWholeFile;
using test::ScopedSettingsStore;
using test::TempDir;

// Sets (or, for nullptr, unsets) one environment variable until destroyed.
class ScopedVariable {
  public:
    ScopedVariable(const char* name, const char* value) : name_(name) {
        if (const char* old = std::getenv(name)) old_ = old;
        set(value);
    }
    ~ScopedVariable() { set(old_ ? old_->c_str() : nullptr); }

  private:
    void set(const char* value) { value ? ::setenv(name_, value, 1) : ::unsetenv(name_); }
    const char* name_;
    std::optional<std::string> old_;
};

class TextFileStoreTest : public ::testing::Test {
  protected:
    std::shared_ptr<TextFileStore> makeStore(const std::filesystem::path& directory) {
        return std::make_shared<TextFileStore>(
            directory, [this](const std::string&, const std::string& message) {
                warnings_.push_back(message);
            });
    }
    std::string file() const { return readWholeFile(dir_ / "settings.conf"); }

    TempDir dir_;
    std::vector<std::string> warnings_;
};

TEST_F(TextFileStoreTest, LocationFollowsTheEnvironment) {
    const struct {
        const char *own, *xdg, *home, *expected;
    } cases[] = {
        {"/a/own", "/b/xdg", "/c/home", "/a/own"},
        {"", "/b/xdg", "/c/home", "/b/xdg/vivark"},
        {nullptr, "relative/xdg", "/c/home", "/c/home/.config/vivark"},
        {nullptr, nullptr, "/c/home", "/c/home/.config/vivark"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.expected);
        ScopedVariable own("VIVARK_CONFIG_HOME", c.own);
        ScopedVariable xdg("XDG_CONFIG_HOME", c.xdg);
        ScopedVariable home("HOME", c.home);
        EXPECT_EQ(TextFileStore::userDirectory(), c.expected);
    }
}

TEST_F(TextFileStoreTest, NestedSubkeysAndFirstSpellingsInTheFile) {
    {
        ScopedSettingsStore scoped(makeStore(dir_.path()));
        saveTiffCompressionColor.set(5);
        fullscreenShowPointer.set(true);
        fullscreenFitMode.set(1);
        converterSelectedScript.set("C:\\Scripts\\\"night\".vvs");
    }
    std::string text = file();
    for (std::string_view expected :
         {"[SaveOptions\\TIFF\\Compression]\n\"Color\"=dword:00000005\n",
          "[FullScreen]\n\"FitMode\"=dword:00000001\n\"ShowPointer\"=dword:00000001\n",
          "\"SelectedScript\"=\"C:\\\\Scripts\\\\\\\"night\\\".vvs\"\n"})
        EXPECT_NE(text.find(expected), std::string::npos) << expected << "\nin\n" << text;

    // Another process, another store on the same file.
    ScopedSettingsStore scoped(makeStore(dir_.path()));
    EXPECT_EQ(saveTiffCompressionColor.get(), 5u);
    EXPECT_EQ(converterSelectedScript.get(), "C:\\Scripts\\\"night\".vvs");
    EXPECT_TRUE(warnings_.empty());
}

TEST_F(TextFileStoreTest, ReadsSeeOtherStoresWrites) {
    auto reader = makeStore(dir_.path());
    auto writer = makeStore(dir_.path());
    EXPECT_FALSE(reader->read("A", "X").has_value());
    for (uint32_t value : {1u, 2u, 3u}) {
        ASSERT_TRUE(writer->write("A", "X", dword(value)));
        EXPECT_EQ(reader->read("A", "X"), dword(value));
    }
    ASSERT_TRUE(writer->remove("A", "X"));
    EXPECT_FALSE(reader->read("A", "X").has_value());
    EXPECT_EQ(file().find("[A]"), std::string::npos);
}

TEST_F(TextFileStoreTest, DamagedFileWarnsOnceAndIsKeptWhenReplaced) {
    const struct {
        const char* text;
        bool interlaceSurvives;
    } cases[] = {
        {"REGEDIT4\n[SaveOptions\\GIF]\n\"Interlace\"=dword:00000001\n", false},
        {"Vivark Settings\n[SaveOptions\\GIF]\n\"Interlace\"=dword:00000001\n\"X\"=dword:\n", true},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.text);
        TempDir dir;
        warnings_.clear();
        dir.write("settings.conf", c.text);
        auto store = makeStore(dir.path());
        for (int i = 0; i < 3; ++i)
            EXPECT_EQ(store->read("SaveOptions\\GIF", "Interlace").has_value(),
                      c.interlaceSurvives);
        EXPECT_EQ(warnings_.size(), 1u);

        ASSERT_TRUE(store->write("A", "B", dword(1)));
        EXPECT_FALSE(parseSettingsFile(readWholeFile(dir / "settings.conf")).damaged());
        EXPECT_EQ(readWholeFile(dir / "settings.conf.damaged"), c.text);
    }
}

TEST_F(TextFileStoreTest, UnusableStoresKeepNewValuesInTheCache) {
    dir_.write("plain-file", "x");
    std::filesystem::create_directories(dir_ / "file-is-a-directory" / "settings.conf");
    const std::filesystem::path directories[] = {
        dir_ / "plain-file" / "sub",  // cannot be created
        dir_ / "file-is-a-directory",
        {},  // no home directory at all
    };
    for (const auto& directory : directories) {
        SCOPED_TRACE(directory);
        warnings_.clear();
        ScopedSettingsStore scoped(makeStore(directory));
        EXPECT_FALSE(saveGifInterlace.get());
        EXPECT_FALSE(saveGifInterlace.set(true));
        EXPECT_TRUE(saveGifInterlace.get());
        EXPECT_LE(warnings_.size(), 2u);  // at most one for reading, one for writing
    }
}

// Two writer processes while a third reads: no update lost, no torn file.
TEST_F(TextFileStoreTest, ConcurrentProcessesLoseNoUpdate) {
    constexpr int kWrites = 100;
    pid_t writers[2];
    for (int w = 0; w < 2; ++w) {
        writers[w] = ::fork();
        ASSERT_GE(writers[w], 0);
        if (writers[w] == 0) {
            TextFileStore store(dir_.path(), [](const std::string&, const std::string&) {});
            bool ok = true;
            std::string subkey = "Writer" + std::to_string(w);
            for (int i = 0; i < kWrites; ++i)
                ok = store.write(subkey, "Value" + std::to_string(i), dword(i)) && ok;
            ::_exit(ok ? 0 : 1);
        }
    }
    auto reader = makeStore(dir_.path());
    int status[2] = {0, 0};
    bool done[2] = {false, false};
    while (!done[0] || !done[1]) {
        reader->read("Writer0", "Value0");
        for (int w = 0; w < 2; ++w)
            if (!done[w] && ::waitpid(writers[w], &status[w], WNOHANG) == writers[w])
                done[w] = true;
    }
    for (int w = 0; w < 2; ++w) EXPECT_TRUE(WIFEXITED(status[w]) && WEXITSTATUS(status[w]) == 0);
    EXPECT_TRUE(warnings_.empty());

    ParsedSettingsFile parsed = parseSettingsFile(file());
    EXPECT_FALSE(parsed.damaged());
    for (int w = 0; w < 2; ++w)
        for (int i = 0; i < kWrites; ++i)
            EXPECT_EQ(parsed.tree.find("Writer" + std::to_string(w), "Value" + std::to_string(i)),
                      dword(i));
}

}  // namespace
}  // namespace vivark::settings
