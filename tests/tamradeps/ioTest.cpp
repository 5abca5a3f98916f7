#include "support/expectations.h"
#include "tamradeps/io/fileSystem.h"

#include <csignal>
#include <filesystem>
#include <fstream>
#include <iterator>

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>

namespace
{
namespace fs = std::filesystem;

class FileSystem : public testing::Test
{
protected:
    std::string Make(const std::string& name, const std::string& content = "old") const
    {
        const std::string path = m_folder.Path(name);
        fs::create_directories(fs::path(path).parent_path());
        std::ofstream(path, std::ios::binary) << content;
        return path;
    }
    static std::string Read(const std::string& path)
    {
        std::ifstream file(path, std::ios::binary);
        return {std::istreambuf_iterator<char>(file), {}};
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
    fs::create_directories(m_folder.Path("first/" + name));

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
    EXPECT_EQ(m_files.GetTemporaryFilePath("/a/b"), "/a/b");
    EXPECT_EQ(CFileSystem().GetTemporaryFilePath("x"), "x") << "the current directory";
}

TEST_F(FileSystem, FileInReadsAllOrLeavesTheContent)
{
    const std::string data("\0\r\n\xFF\x1A z", 7);
    const std::string path = Make("data", data);
    std::vector<std::byte> content;
    ASSERT_TRUE(m_files.FileIn(path, content, 7));
    EXPECT_EQ(std::string(reinterpret_cast<const char*>(content.data()), content.size()), data);

    const std::string pipe = m_folder.Path("pipe");
    ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
    const test::ExpectLog expected{"7 bytes are more than the limit of 6",
                                   "no such file",
                                   "no such file",
                                   "no such file",
                                   "no regular file",
                                   "not as long",
                                   "not as long"};
    EXPECT_FALSE(m_files.FileIn(path, content, 6));
    for (const std::string& name : {m_folder.Path(""), std::string("missing"), path + '\0', pipe})
        EXPECT_FALSE(m_files.FileIn(name, content)) << name;
    // One cannot be read, and both are not as long as they say.
    EXPECT_FALSE(m_files.FileIn("/proc/self/mem", content) || m_files.FileIn("/proc/self/stat", content));
    EXPECT_EQ(content.size(), 7U);
    EXPECT_TRUE(m_files.FileIn(Make("none", ""), content));
    EXPECT_TRUE(content.empty());
}

TEST_F(FileSystem, FileReplacePutsTheNewContentInPlace)
{
    const std::string path = Make("scene \xC3\xA4.mfs");
    fs::permissions(path, fs::perms(0640));
    const std::string link = m_folder.Path("link");
    fs::create_symlink(path, link);
    EXPECT_TRUE(Replace(path, std::string("new\0", 4)));
    EXPECT_EQ(Read(path), std::string("new\0", 4));
    EXPECT_TRUE(Replace(link, "through"));
    EXPECT_EQ(Read(path), "through");
    EXPECT_TRUE(fs::is_symlink(link));
    EXPECT_EQ(fs::status(path).permissions(), fs::perms(0640));
    EXPECT_TRUE(Replace(m_folder.Path(std::string(255, 'x')), "")) << "the longest name that a folder takes";
    EXPECT_EQ(CountFiles(), 3);
}

TEST_F(FileSystem, AFailedReplaceLeavesTheOldFileAlone)
{
    const std::string path = Make("scene");
    const std::string folder = m_folder.Path("folder");
    const std::string locked = Make("locked");
    const std::string loop = m_folder.Path("loop");
    const std::string pipe = m_folder.Path("pipe");
    fs::create_directory(folder);
    fs::permissions(locked, fs::perms(0444));
    fs::create_symlink(loop, loop);
    ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
    {
        const test::ExpectLog expected{"no regular file", "write-protected", "symbolic links", "no regular file",
                                       "No such file",    "zero byte",       "empty"};
        const std::string missing = m_folder.Path("missing/file");
        for (const std::string& bad : {folder, locked, loop, pipe, missing, path + '\0', std::string()})
            EXPECT_FALSE(Replace(bad, "new")) << bad;
    }
    // The disk takes the first bytes only.
    rlimit before = {};
    getrlimit(RLIMIT_FSIZE, &before);
    const rlimit small = {5000, before.rlim_max};
    setrlimit(RLIMIT_FSIZE, &small);
    const auto handler = std::signal(SIGXFSZ, SIG_IGN);
    {
        const test::ExpectLog expected{"too large"};
        EXPECT_FALSE(Replace(path, std::string(10000, 'n')));
    }
    setrlimit(RLIMIT_FSIZE, &before);
    std::signal(SIGXFSZ, handler);
    EXPECT_EQ(Read(path), "old");
    EXPECT_EQ(Read(locked), "old");
    EXPECT_EQ(CountFiles(), 5);
}
} // namespace
