#include "support/expectations.h"
#include "support/files.h"
#include "support/system.h"
#include "tamradeps/io/fileSystem.h"
#include "tamradeps/io/utf8Path.h"
#include "tamradeps/platform/fileAccess.h"

#include <filesystem>
#include <memory>

#include <gtest/gtest.h>

namespace
{
namespace fs = std::filesystem;

class FileSystem : public testing::Test
{
protected:
    std::string Make(const std::string& name, const std::string& content = "old") const
    {
        const std::string path = m_folder.Path(name);
        fs::create_directories(tamra::ToPath(path).parent_path());
        test::WriteFile(path, content);
        return path;
    }
    // By what is tested.
    std::string ReadAll(const std::string& path) const
    {
        std::vector<std::byte> content;
        EXPECT_TRUE(m_files.FileIn(path, content));
        return {reinterpret_cast<const char*>(content.data()), content.size()};
    }
    bool Replace(const std::string& path, const std::string& content) const
    {
        return m_files.FileReplace(path, content.data(), content.size());
    }
    // Files in the test's folder and below.
    auto CountFiles() const
    {
        return std::distance(fs::recursive_directory_iterator(m_folder.Path("")), fs::recursive_directory_iterator());
    }

    test::TemporaryFolder m_folder;
    CFileSystem m_files;
};

TEST_F(FileSystem, NamesAreFoundInTheFirstFolderThatHasThem)
{
    const std::string name = "fonts/\xC3\xA4 b.fnt";
    const std::string temporary = Make("temporary/" + name);
    const std::string user = Make("user/" + name);
    const std::string second = Make("second/" + name);
    fs::create_directories(tamra::ToPath(m_folder.Path("first/" + name)));

    EXPECT_EQ(m_files.FindFile(name), "");
    m_files.SetTemporaryFolder(m_folder.Path("temporary"));
    EXPECT_EQ(m_files.FindFile(name), temporary);
    m_files.SetUserFolder(m_folder.Path("user"));
    EXPECT_EQ(m_files.FindFile(name), user);
    for (const char* root : {"missing", "first", "second", "second"})
        m_files.AddRoot(m_folder.Path(root));
    EXPECT_EQ(m_files.GetRoots().size(), 3U);
    EXPECT_EQ(m_files.FindFile(name), second) << "not the folder of that name in the first root";
    EXPECT_EQ(m_files.FindFile(user), user);
    for (const std::string& bad : {m_folder.Path("user"), std::string(), second + '\0'})
        EXPECT_EQ(m_files.FindFile(bad), "");
    EXPECT_EQ(m_files.GetTemporaryFilePath("x"), m_folder.Path("temporary/x"));
    EXPECT_EQ(m_files.GetTemporaryFilePath(user), user);
    EXPECT_EQ(CFileSystem().GetTemporaryFilePath("x"), "x") << "the current directory";
}

TEST_F(FileSystem, FileInReadsAllOrLeavesTheContent)
{
    const std::string data("\0\r\n\xFF\x1A z", 7);
    const std::string path = Make("data", data);
    EXPECT_EQ(ReadAll(path), data);
    std::vector<std::byte> content;
    ASSERT_TRUE(m_files.FileIn(path, content, 7));

    const auto refuse = [&](const std::string& name, const char* reason, std::size_t limit = 1000)
    {
        const test::ExpectLog expected{reason};
        EXPECT_FALSE(m_files.FileIn(name, content, limit)) << name;
    };
    refuse(path, "7 bytes are more than the limit of 6", 6);
    for (const std::string& name : {m_folder.Path(""), std::string("missing"), path + '\0'})
        refuse(name, "no such file");
    if (test::kIsUnix)
    {
        const std::string pipe = m_folder.Path("pipe");
        ASSERT_TRUE(test::MakePipe(pipe));
        refuse(pipe, "no regular file");
        // One cannot be read, and both are not as long as they say.
        refuse("/proc/self/mem", "not as long");
        refuse("/proc/self/stat", "not as long");
    }
    EXPECT_EQ(content.size(), 7U);
    EXPECT_TRUE(m_files.FileIn(Make("none", ""), content));
    EXPECT_TRUE(content.empty());
}

TEST_F(FileSystem, FileReplacePutsTheNewContentInPlace)
{
    const std::string path = Make("scene \xC3\xA4.mfs");
    EXPECT_TRUE(Replace(path, std::string("new\0", 4)));
    EXPECT_EQ(test::ReadFile(path), std::string("new\0", 4));
    EXPECT_TRUE(Replace(m_folder.Path(std::string(255, 'x')), "")) << "the longest name that a folder takes";
    EXPECT_EQ(CountFiles(), 2);
    if (!test::kIsUnix)
        return;
    fs::permissions(tamra::ToPath(path), fs::perms(0640));
    const std::string link = m_folder.Path("link");
    fs::create_symlink(tamra::ToPath(path), link);
    EXPECT_TRUE(Replace(link, "through"));
    EXPECT_EQ(test::ReadFile(path), "through");
    EXPECT_TRUE(fs::is_symlink(link));
    EXPECT_EQ(fs::status(tamra::ToPath(path)).permissions(), fs::perms(0640));
    EXPECT_EQ(CountFiles(), 3);
}

TEST_F(FileSystem, WhoReadsAFileKeepsItsOldContentWhenItIsReplaced)
{
    const std::string path = Make("scene");
    const std::unique_ptr<std::FILE, decltype(&std::fclose)> reader(tamra::platform::OpenForReading(path),
                                                                    &std::fclose);
    ASSERT_TRUE(reader);
    if (test::IsWine())
    {
        const test::ExpectLog expected{"cannot write"};
        EXPECT_FALSE(Replace(path, "new"));
        EXPECT_EQ(test::ReadFile(path), "old");
        EXPECT_EQ(CountFiles(), 1);
        return;
    }
    EXPECT_TRUE(Replace(path, "new"));
    char bytes[4] = {};
    EXPECT_EQ(std::fread(bytes, 1, 4, reader.get()), 3U);
    EXPECT_STREQ(bytes, "old");
    EXPECT_EQ(test::ReadFile(path), "new");
}

TEST_F(FileSystem, NamesMayBeLong)
{
    const std::string folder = m_folder.MakeLongPath();
    const std::string path = folder + "scene.mfs";
    EXPECT_TRUE(Replace(path, "one") && Replace(path, "two"));
    EXPECT_EQ(ReadAll(path), "two");
    m_files.AddRoot(folder);
    EXPECT_EQ(m_files.FindFile("scene.mfs"), path);
    const std::uint64_t stamp = m_files.GetFileStamp("scene.mfs");
    EXPECT_TRUE(Replace(path, "three"));
    EXPECT_NE(m_files.GetFileStamp("scene.mfs"), stamp);
}

TEST_F(FileSystem, AFailedReplaceLeavesTheOldFileAlone)
{
    const std::string path = Make("scene");
    const std::string folder = m_folder.Path("folder");
    const std::string locked = Make("locked");
    fs::create_directory(folder);
    fs::permissions(locked, fs::perms(0444));
    const auto refuse = [&](const std::string& bad, const char* reason)
    {
        const test::ExpectLog expected{reason};
        EXPECT_FALSE(Replace(bad, std::string(10000, 'n'))) << bad;
    };
    refuse(folder, "no regular file");
    refuse(locked, "write-protected");
    refuse(m_folder.Path("missing/file"), "cannot write");
    refuse(path + '\0', "zero byte");
    refuse("", "empty");
    EXPECT_EQ(test::ReadFile(locked), "old");
    EXPECT_EQ(CountFiles(), 3);
    fs::permissions(locked, fs::perms(0644));
    if (!test::kIsUnix)
        return;
    const std::string loop = m_folder.Path("loop");
    fs::create_symlink(loop, loop);
    refuse(loop, "symbolic links");
    const std::string pipe = m_folder.Path("pipe");
    ASSERT_TRUE(test::MakePipe(pipe));
    refuse(pipe, "no regular file");
    {
        // The disk takes the first bytes only.
        const test::FileSizeLimit limit(5000);
        refuse(path, "too large");
    }
    EXPECT_EQ(test::ReadFile(path), "old");
    EXPECT_EQ(CountFiles(), 5);
}
} // namespace
