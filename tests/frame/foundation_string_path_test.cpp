// The path operations of CZanTString and CZanTArray<CZanTString>: joining
// with exactly one '/', making a folder with its parents, deleting a folder
// tree (stopping at the first failure), and listing a folder in byte order
// of its names. Every store, shard family and backup path is built with them.
#include <gtest/gtest.h>

#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <string>

#include "support/temp_folder.h"
#include "support/unprivileged.h"
#include "zandb4/foundation.h"

namespace {

namespace fs = std::filesystem;
using zandb4::testing::TempFolder;
using zandb4::testing::WriteFile;

std::string Join(const char* first, const char* second) {
    CZanTString path = CZanTString::FromUtf8(first);
    path.AppendPath(CZanTString::FromUtf8(second));
    return path.ToUtf8();
}

CZanTString Wide(const fs::path& path) { return CZanTString::FromUtf8(path.c_str()); }

// ---- AppendPath ----

TEST(StringAppendPath, NeitherPartHasASeparator) {
    EXPECT_EQ(Join("root/database", "FileBasic.db"), "root/database/FileBasic.db");
}

TEST(StringAppendPath, FirstPartEndsWithASeparator) {
    EXPECT_EQ(Join("root/database/", "FileBasic.db"), "root/database/FileBasic.db");
}

TEST(StringAppendPath, SecondPartStartsWithASeparator) {
    EXPECT_EQ(Join("root/database", "/FileBasic.db"), "root/database/FileBasic.db");
}

TEST(StringAppendPath, BothPartsHaveASeparator) {
    EXPECT_EQ(Join("root/database/", "/FileBasic.db"), "root/database/FileBasic.db");
}

TEST(StringAppendPath, RunsOfSeparatorsAtTheJoinBecomeOne) {
    EXPECT_EQ(Join("root//", "///thumb"), "root/thumb");
}

TEST(StringAppendPath, EmptySecondPartAddsNothing) {
    EXPECT_EQ(Join("root/database", ""), "root/database");
    EXPECT_EQ(Join("root/database/", ""), "root/database/");
}

TEST(StringAppendPath, EmptyFirstPartGivesTheSecondAsItIs) {
    EXPECT_EQ(Join("", "FileBasic.db"), "FileBasic.db");
    EXPECT_EQ(Join("", "/abs/FileBasic.db"), "/abs/FileBasic.db");
}

TEST(StringAppendPath, BothPartsEmptyStayEmpty) {
    EXPECT_EQ(Join("", ""), "");
}

TEST(StringAppendPath, RootFolderKeepsOneSeparator) {
    EXPECT_EQ(Join("/", "tmp"), "/tmp");
    EXPECT_EQ(Join("/", "/tmp"), "/tmp");
}

TEST(StringAppendPath, AbsoluteSecondPartNeverReplacesTheFirst) {
    EXPECT_EQ(Join("/data/root", "/etc/passwd"), "/data/root/etc/passwd");
}

TEST(StringAppendPath, SeparatorsInsideThePartsStay) {
    EXPECT_EQ(Join("/a/b", "c/d/e.db"), "/a/b/c/d/e.db");
}

TEST(StringAppendPath, BackslashIsAnOrdinaryCharacter) {
    EXPECT_EQ(Join("folder\\", "\\name"), "folder\\/\\name");
}

TEST(StringAppendPath, PartsBeyondTwoHundredSixtyCharactersJoinWhole) {
    const std::string first(300, 'a');
    const std::string second(300, 'b');

    const std::string joined = Join(first.c_str(), second.c_str());

    EXPECT_EQ(joined, first + "/" + second);
}

TEST(StringAppendPath, NonAsciiPartsKeepTheirUnits) {
    CZanTString path(u"/home/\u00E9l\u00E8ve");

    path.AppendPath(CZanTString(u"\u5199\u771F\U00010428"));

    EXPECT_EQ(path.Value(), u"/home/\u00E9l\u00E8ve/\u5199\u771F\U00010428");
}

TEST(StringAppendPath, ChainedJoinsBuildANestedPath) {
    CZanTString path(u"/root/");

    path.AppendPath(CZanTString(u"/database/"));
    path.AppendPath(CZanTString(u"thumb_0s"));
    path.AppendPath(CZanTString(u"00000000.db"));

    EXPECT_EQ(path.ToUtf8(), "/root/database/thumb_0s/00000000.db");
}

// ---- MakeFolder ----

TEST(StringMakeFolder, MakesNestedFoldersAndEveryMissingParent) {
    TempFolder temp;
    const CZanTString folder = Wide(temp / "database" / "thumb" / "_0s");

    HRESULT hr = folder.MakeFolder();

    EXPECT_EQ(hr, S_OK);
    EXPECT_TRUE(fs::is_directory(temp / "database"));
    EXPECT_TRUE(fs::is_directory(temp / "database" / "thumb"));
    EXPECT_TRUE(fs::is_directory(temp / "database" / "thumb" / "_0s"));
}

TEST(StringMakeFolder, LeavesTheStringAsItWas) {
    TempFolder temp;
    const std::string path = (temp / "made").string();
    const CZanTString folder = CZanTString::FromUtf8(path.c_str());

    ASSERT_EQ(folder.MakeFolder(), S_OK);

    EXPECT_EQ(folder.ToUtf8(), path);
}

TEST(StringMakeFolder, FolderWithATrailingSeparatorIsMade) {
    TempFolder temp;
    const CZanTString folder = CZanTString::FromUtf8(((temp / "one" / "two").string() + "/").c_str());

    EXPECT_EQ(folder.MakeFolder(), S_OK);

    EXPECT_TRUE(fs::is_directory(temp / "one" / "two"));
}

TEST(StringMakeFolder, ExistingFolderAnswersOkAndKeepsItsContents) {
    TempFolder temp;
    fs::create_directories(temp / "kept");
    WriteFile(temp / "kept" / "file.txt", "x");

    HRESULT hr = Wide(temp / "kept").MakeFolder();

    EXPECT_EQ(hr, S_OK);
    EXPECT_TRUE(fs::exists(temp / "kept" / "file.txt"));
}

TEST(StringMakeFolder, NonAsciiNamesAreMadeInUtf8) {
    TempFolder temp;
    CZanTString folder = temp.Wide();
    folder.AppendPath(CZanTString(u"\u5199\u771F"));
    folder.AppendPath(CZanTString(u"\u00E9t\u00E9"));

    EXPECT_EQ(folder.MakeFolder(), S_OK);

    EXPECT_TRUE(fs::is_directory(temp / "\xE5\x86\x99\xE7\x9C\x9F" / "\xC3\xA9t\xC3\xA9"));
}

TEST(StringMakeFolder, PathsBeyondTwoHundredSixtyCharactersAreMade) {
    TempFolder temp;
    const std::string part(100, 'p');
    const fs::path deep = temp / part / part / part;
    ASSERT_GT(deep.string().size(), 300u);

    HRESULT hr = Wide(deep).MakeFolder();

    EXPECT_EQ(hr, S_OK);
    EXPECT_TRUE(fs::is_directory(deep));
}

TEST(StringMakeFolder, AFileInTheWayGivesFail) {
    TempFolder temp;
    WriteFile(temp / "blocker", "not a folder");

    HRESULT hr = Wide(temp / "blocker" / "sub").MakeFolder();

    EXPECT_EQ(hr, E_FAIL);
    EXPECT_TRUE(fs::is_regular_file(temp / "blocker"));
}

TEST(StringMakeFolder, FolderUnderAReadOnlyParentGivesFail) {
    TempFolder temp;
    fs::create_directories(temp / "readonly");
    zandb4::testing::OpenToEveryone(temp.Path(), temp.Path());
    // Others may look into the folder but not write to it.
    fs::permissions(temp / "readonly", fs::perms::owner_all | fs::perms::others_read | fs::perms::others_exec,
                    fs::perm_options::replace);

    bool held = zandb4::testing::RunUnprivileged(
        [&] { return Wide(temp / "readonly" / "child").MakeFolder() == E_FAIL; });

    EXPECT_TRUE(held);
    EXPECT_FALSE(fs::exists(temp / "readonly" / "child"));
}

// ---- DeleteFolder ----

TEST(StringDeleteFolder, DeletesAWholeTree) {
    TempFolder temp;
    const fs::path top = temp / "database";
    fs::create_directories(top / "thumb" / "_0s");
    fs::create_directories(top / "meta");
    fs::create_directories(top / "empty");
    WriteFile(top / "FileBasic.db", "db");
    WriteFile(top / "thumb" / "_0s" / "00000000.db", "shard");
    WriteFile(top / "meta" / "0.db", "shard");
    WriteFile(temp / "beside.txt", "stays");

    HRESULT hr = Wide(top).DeleteFolder();

    EXPECT_EQ(hr, S_OK);
    EXPECT_FALSE(fs::exists(top));
    EXPECT_TRUE(fs::exists(temp / "beside.txt"));
}

TEST(StringDeleteFolder, DeletesAnEmptyFolder) {
    TempFolder temp;
    fs::create_directories(temp / "empty");

    EXPECT_EQ(Wide(temp / "empty").DeleteFolder(), S_OK);

    EXPECT_FALSE(fs::exists(temp / "empty"));
}

TEST(StringDeleteFolder, PathWithATrailingSeparatorIsDeleted) {
    TempFolder temp;
    fs::create_directories(temp / "gone" / "inner");
    WriteFile(temp / "gone" / "inner" / "f", "x");

    HRESULT hr = CZanTString::FromUtf8(((temp / "gone").string() + "/").c_str()).DeleteFolder();

    EXPECT_EQ(hr, S_OK);
    EXPECT_FALSE(fs::exists(temp / "gone"));
}

TEST(StringDeleteFolder, MissingFolderGivesFail) {
    TempFolder temp;

    HRESULT hr = Wide(temp / "never-made").DeleteFolder();

    EXPECT_EQ(hr, E_FAIL);
}

TEST(StringDeleteFolder, RegularFileIsNotAFolderAndStays) {
    TempFolder temp;
    WriteFile(temp / "file.db", "data");

    HRESULT hr = Wide(temp / "file.db").DeleteFolder();

    EXPECT_EQ(hr, E_FAIL);
    EXPECT_TRUE(fs::is_regular_file(temp / "file.db"));
}

TEST(StringDeleteFolder, LinkToAFolderGoesWithoutItsTarget) {
    TempFolder temp;
    fs::create_directories(temp / "target");
    WriteFile(temp / "target" / "precious.txt", "keep");
    fs::create_directories(temp / "tree");
    fs::create_directory_symlink(temp / "target", temp / "tree" / "link");

    HRESULT hr = Wide(temp / "tree").DeleteFolder();

    EXPECT_EQ(hr, S_OK);
    EXPECT_FALSE(fs::exists(temp / "tree"));
    EXPECT_TRUE(fs::exists(temp / "target" / "precious.txt"));
}

TEST(StringDeleteFolder, StopsAtAnEntryThatCannotGoAndKeepsTheRest) {
    TempFolder temp;
    const fs::path top = temp / "tree";
    fs::create_directories(top / "b_locked");
    fs::create_directories(top / "d_after");
    WriteFile(top / "a_first.txt", "1");
    WriteFile(top / "b_locked" / "inner.txt", "2");
    WriteFile(top / "c_after.txt", "3");
    WriteFile(top / "d_after" / "deep.txt", "4");
    zandb4::testing::OpenToEveryone(top / "d_after", temp.Path());
    zandb4::testing::OpenToEveryone(top / "b_locked", temp.Path());
    // Others may enter the locked folder but not delete from it.
    fs::permissions(top / "b_locked", fs::perms::owner_all | fs::perms::others_read | fs::perms::others_exec,
                    fs::perm_options::replace);

    bool held = zandb4::testing::RunUnprivileged([&] { return Wide(top).DeleteFolder() == E_FAIL; });

    // Entries go in byte order of their names: the one before the locked
    // folder is gone, the locked one and everything after it stay, and so
    // does the folder itself.
    EXPECT_TRUE(held);
    EXPECT_FALSE(fs::exists(top / "a_first.txt"));
    EXPECT_TRUE(fs::exists(top / "b_locked" / "inner.txt"));
    EXPECT_TRUE(fs::exists(top / "c_after.txt"));
    EXPECT_TRUE(fs::exists(top / "d_after" / "deep.txt"));
    EXPECT_TRUE(fs::is_directory(top));
}

// ---- ListFolder ----

TEST(StringListFolder, MissingFolderGivesFailAndAnEmptyArray) {
    TempFolder temp;
    CZanTArray<CZanTString> entries;
    entries.Add(CZanTString(u"left over"));

    HRESULT hr = entries.ListFolder(Wide(temp / "missing"));

    EXPECT_EQ(hr, E_FAIL);
    EXPECT_EQ(entries.GetSize(), 0);
}

TEST(StringListFolder, GivesFullPathsOfFilesAndFoldersInByteOrder) {
    TempFolder temp;
    const fs::path folder = temp / "list";
    fs::create_directories(folder / "b_folder");
    fs::create_directories(folder / "C_upper");
    WriteFile(folder / "a.txt", "");
    WriteFile(folder / "a", "");
    WriteFile(folder / "\xC3\xA9t\xC3\xA9", "");  // UTF-8 lead bytes sort after ASCII
    WriteFile(folder / ".hidden", "");
    CZanTArray<CZanTString> entries;

    HRESULT hr = entries.ListFolder(Wide(folder));

    EXPECT_EQ(hr, S_OK);
    const std::string base = folder.string();
    const std::string expected[] = {base + "/.hidden", base + "/C_upper", base + "/a", base + "/a.txt",
                                    base + "/b_folder", base + "/\xC3\xA9t\xC3\xA9"};
    ASSERT_EQ(entries.GetSize(), 6);
    for (int i = 0; i < 6; ++i) EXPECT_EQ(entries.GetAt(i).ToUtf8(), expected[i]) << "entry " << i;
}

TEST(StringListFolder, DotAndDotDotAreAbsent) {
    TempFolder temp;
    WriteFile(temp / "only.txt", "");
    CZanTArray<CZanTString> entries;

    ASSERT_EQ(entries.ListFolder(temp.Wide()), S_OK);

    ASSERT_EQ(entries.GetSize(), 1);
    EXPECT_EQ(entries.GetAt(0).ToUtf8(), (temp / "only.txt").string());
    for (ptrdiff_t i = 0; i < entries.GetSize(); ++i) {
        const std::string name = fs::path(entries.GetAt(i).ToUtf8()).filename().string();
        EXPECT_NE(name, ".");
        EXPECT_NE(name, "..");
    }
}

TEST(StringListFolder, EmptyFolderGivesOkAndNoEntries) {
    TempFolder temp;
    CZanTArray<CZanTString> entries;
    entries.Add(CZanTString(u"left over"));

    HRESULT hr = entries.ListFolder(temp.Wide());

    EXPECT_EQ(hr, S_OK);
    EXPECT_EQ(entries.GetSize(), 0);
}

TEST(StringListFolder, FolderWithATrailingSeparatorGivesOneSeparator) {
    TempFolder temp;
    WriteFile(temp / "x.db", "");
    CZanTArray<CZanTString> entries;

    ASSERT_EQ(entries.ListFolder(CZanTString::FromUtf8((temp.Utf8() + "/").c_str())), S_OK);

    ASSERT_EQ(entries.GetSize(), 1);
    EXPECT_EQ(entries.GetAt(0).ToUtf8(), temp.Utf8() + "/x.db");
}

TEST(StringListFolder, RegularFileCannotBeListed) {
    TempFolder temp;
    WriteFile(temp / "file.db", "");
    CZanTArray<CZanTString> entries;

    EXPECT_EQ(entries.ListFolder(Wide(temp / "file.db")), E_FAIL);
    EXPECT_EQ(entries.GetSize(), 0);
}

TEST(StringListFolder, SecondListingReplacesTheFirst) {
    TempFolder temp;
    fs::create_directories(temp / "one");
    fs::create_directories(temp / "two");
    WriteFile(temp / "one" / "a", "");
    WriteFile(temp / "one" / "b", "");
    WriteFile(temp / "two" / "c", "");
    CZanTArray<CZanTString> entries;
    ASSERT_EQ(entries.ListFolder(Wide(temp / "one")), S_OK);

    ASSERT_EQ(entries.ListFolder(Wide(temp / "two")), S_OK);

    ASSERT_EQ(entries.GetSize(), 1);
    EXPECT_EQ(entries.GetAt(0).ToUtf8(), (temp / "two" / "c").string());
}

TEST(StringListFolder, FillsTheCallersArrayThroughANonOwningWrapper) {
    TempFolder temp;
    WriteFile(temp / "a", "");
    WriteFile(temp / "b", "");
    CArray<CZanTString> callers;

    {
        CZanTArray<CZanTString> wrapper(&callers);
        ASSERT_EQ(wrapper.ListFolder(temp.Wide()), S_OK);
    }

    ASSERT_EQ(callers.GetSize(), 2);
    EXPECT_EQ(callers.GetAt(0).ToUtf8(), (temp / "a").string());
    EXPECT_EQ(callers.GetAt(1).ToUtf8(), (temp / "b").string());
}

}  // namespace
