// The search node: a reference-counted holder of one piece of WHERE-clause
// text. QueryInterface answers its own identifier only, the count starts at
// one for the maker, Reset changes nothing, and GetText reports an empty
// text as E_FAIL while still handing it out.
#include <gtest/gtest.h>

#include <string>

#include "file_db_record_fixture.h"
#include "frame/com_ptr.h"
#include "records/query_mgr.h"
#include "records/query_node.h"
#include "zandb4.h"

namespace {

using zandb4::ComPtr;

// The two BOOL values as the interface uses them.
constexpr BOOL kTrue = 1;
constexpr BOOL kFalse = 0;

// The identifier of IUnknown itself, which no class of the library answers.
constexpr IID kIUnknownId = {0x00000000, 0x0000, 0x0000, {0xC0, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x46}};

// A result no operation gives, to see that a call wrote its answer.
constexpr HRESULT kNotAnswered = static_cast<HRESULT>(0x8000FFFFu);

// Any value a call must overwrite; never dereferenced.
void* const kSentinel = reinterpret_cast<void*>(static_cast<uintptr_t>(0x5A5A5A5A));

int32_t Refs(IZanDB4QueryNode* node) { return static_cast<CZanDB4ElementNode*>(node)->RefCount(); }

std::u16string TextOf(IZanDB4QueryNode* node, HRESULT* result = nullptr) {
    CZanTString text;
    HRESULT hr = node->GetText(text);
    if (result != nullptr) *result = hr;
    return text.Value();
}

ComPtr<IZanDB4QueryNode> NewNode() { return ComPtr<IZanDB4QueryNode>::Adopt(new CZanDB4ElementNode()); }

TEST(QueryNode, StartsWithOneReferenceForItsMaker) {
    ComPtr<IZanDB4QueryNode> node = NewNode();
    EXPECT_EQ(Refs(node.Get()), 1);
}

TEST(QueryNode, AddRefAndReleaseAnswerTheNewCount) {
    IZanDB4QueryNode* node = new CZanDB4ElementNode();
    EXPECT_EQ(node->AddRef(), 2u);
    EXPECT_EQ(node->AddRef(), 3u);
    EXPECT_EQ(Refs(node), 3);
    EXPECT_EQ(node->Release(), 2u);
    EXPECT_EQ(node->Release(), 1u);
    EXPECT_EQ(Refs(node), 1);
    // The last release destroys the node and answers 0.
    EXPECT_EQ(node->Release(), 0u);
}

TEST(QueryNode, QueryInterfaceForItsOwnIdentifierAddsAReference) {
    ComPtr<IZanDB4QueryNode> node = NewNode();
    void* out = kSentinel;
    ASSERT_EQ(node->QueryInterface(IID_IZanDB4QueryNode, &out), S_OK);
    EXPECT_EQ(out, static_cast<void*>(node.Get()));
    EXPECT_EQ(Refs(node.Get()), 2);
    static_cast<IZanDB4QueryNode*>(out)->Release();
    EXPECT_EQ(Refs(node.Get()), 1);
}

TEST(QueryNode, QueryInterfaceForAnyOtherIdentifierIsRefusedWithNullOut) {
    ComPtr<IZanDB4QueryNode> node = NewNode();
    const IID* others[] = {&IID_IZanDB4QueryMgr, &kIUnknownId, &IID_IZanDB4FileDBRecord,
                           &IID_IZanDB4FileMetaDBRecord, &IID_IZanDB4FileDBMgr};
    for (const IID* iid : others) {
        void* out = kSentinel;
        EXPECT_EQ(node->QueryInterface(*iid, &out), E_NOINTERFACE);
        EXPECT_EQ(out, nullptr);
        EXPECT_EQ(Refs(node.Get()), 1);
    }
}

TEST(QueryNode, QueryInterfaceWithNullOutIsInvalidArgument) {
    ComPtr<IZanDB4QueryNode> node = NewNode();
    EXPECT_EQ(node->QueryInterface(IID_IZanDB4QueryNode, nullptr), E_INVALIDARG);
    EXPECT_EQ(Refs(node.Get()), 1);
}

TEST(QueryNode, NewNodeHasEmptyTextAndGetTextFailsButStillDeliversIt) {
    ComPtr<IZanDB4QueryNode> node = NewNode();
    CZanTString text(u"left over from before");
    EXPECT_EQ(node->GetText(text), E_FAIL);
    // The empty text is delivered, not the caller's old value left standing.
    EXPECT_TRUE(text.IsEmpty());
}

TEST(QueryNode, SetTextReplacesTheTextAndGetTextCopiesIt) {
    ComPtr<IZanDB4QueryNode> node = NewNode();
    EXPECT_EQ(node->SetText(u"file_format='3'"), S_OK);
    HRESULT result = kNotAnswered;
    EXPECT_EQ(TextOf(node.Get(), &result), u"file_format='3'");
    EXPECT_EQ(result, S_OK);

    EXPECT_EQ(node->SetText(u"manage='1'"), S_OK);
    EXPECT_EQ(TextOf(node.Get(), &result), u"manage='1'");
    EXPECT_EQ(result, S_OK);

    // The caller gets a copy: changing it leaves the node alone.
    CZanTString copy;
    ASSERT_EQ(node->GetText(copy), S_OK);
    copy += u" AND is_favorite='1'";
    EXPECT_EQ(TextOf(node.Get()), u"manage='1'");
}

TEST(QueryNode, SetTextKeepsNoPointerToTheCallersBuffer) {
    ComPtr<IZanDB4QueryNode> node = NewNode();
    {
        std::u16string buffer = u"did_edit='1'";
        ASSERT_EQ(node->SetText(buffer.c_str()), S_OK);
        buffer.assign(buffer.size(), u'x');
    }
    EXPECT_EQ(TextOf(node.Get()), u"did_edit='1'");
}

TEST(QueryNode, SetTextToEmptyMakesGetTextFailAgain) {
    ComPtr<IZanDB4QueryNode> node = NewNode();
    ASSERT_EQ(node->SetText(u"did_edit='1'"), S_OK);
    EXPECT_EQ(node->SetText(u""), S_OK);
    CZanTString text(u"stale");
    EXPECT_EQ(node->GetText(text), E_FAIL);
    EXPECT_TRUE(text.IsEmpty());
}

TEST(QueryNode, ResetAnswersSOkAndLeavesTheTextAndCountAlone) {
    ComPtr<IZanDB4QueryNode> node = NewNode();
    EXPECT_EQ(node->Reset(), S_OK);
    ASSERT_EQ(node->SetText(u"upload_flag='0'"), S_OK);
    EXPECT_EQ(node->Reset(), S_OK);
    HRESULT result = kNotAnswered;
    EXPECT_EQ(TextOf(node.Get(), &result), u"upload_flag='0'");
    EXPECT_EQ(result, S_OK);
    EXPECT_EQ(Refs(node.Get()), 1);
}

TEST(QueryNode, TextIsKeptUnitForUnitIncludingSurrogatePairs) {
    ComPtr<IZanDB4QueryNode> node = NewNode();
    const std::u16string text = u"file_path='/\u5199\u771F/\U0001F4F7/\u00C4'";
    ASSERT_EQ(node->SetText(text.c_str()), S_OK);
    EXPECT_EQ(TextOf(node.Get()), text);
}

TEST(QueryNode, NodeFromTheManagerAnswersItsInterfaceWithOneReference) {
    ComPtr<IZanDB4QueryMgr> mgr = ComPtr<IZanDB4QueryMgr>::Adopt(new CZanDB4DBQueryMgr());
    ComPtr<IZanDB4QueryNode> node;
    ASSERT_EQ(mgr->CreateFileFormatNode(node.Receive(), 3), S_OK);
    ASSERT_TRUE(node);
    EXPECT_EQ(Refs(node.Get()), 1);
    void* out = kSentinel;
    ASSERT_EQ(node->QueryInterface(IID_IZanDB4QueryNode, &out), S_OK);
    EXPECT_EQ(out, static_cast<void*>(node.Get()));
    EXPECT_EQ(Refs(node.Get()), 2);
    static_cast<IZanDB4QueryNode*>(out)->Release();
    out = kSentinel;
    EXPECT_EQ(node->QueryInterface(IID_IZanDB4QueryMgr, &out), E_NOINTERFACE);
    EXPECT_EQ(out, nullptr);
    EXPECT_EQ(Refs(node.Get()), 1);
}

// The factory, with the library up. A node has an exported identifier but no
// way through the factory; the manager has.
using QueryNodeFactory = file_record_test::FileRecordTest;

TEST_F(QueryNodeFactory, FactoryDoesNotMakeNodes) {
    void* out = kSentinel;
    EXPECT_EQ(ZanDB4_CreateInstance(&IID_IZanDB4QueryNode, &out), E_NOINTERFACE);
    EXPECT_EQ(out, nullptr);
}

TEST_F(QueryNodeFactory, FactoryMakesTheManagerWithOneReference) {
    IZanDB4QueryMgr* mgr = nullptr;
    ASSERT_EQ(ZanDB4_CreateInstance(&IID_IZanDB4QueryMgr, reinterpret_cast<void**>(&mgr)), S_OK);
    ASSERT_NE(mgr, nullptr);
    EXPECT_EQ(static_cast<CZanDB4DBQueryMgr*>(mgr)->RefCount(), 1);

    void* out = kSentinel;
    ASSERT_EQ(mgr->QueryInterface(IID_IZanDB4QueryMgr, &out), S_OK);
    EXPECT_EQ(out, static_cast<void*>(mgr));
    EXPECT_EQ(static_cast<CZanDB4DBQueryMgr*>(mgr)->RefCount(), 2);
    EXPECT_EQ(static_cast<IZanDB4QueryMgr*>(out)->Release(), 1u);

    out = kSentinel;
    EXPECT_EQ(mgr->QueryInterface(IID_IZanDB4QueryNode, &out), E_NOINTERFACE);
    EXPECT_EQ(out, nullptr);
    out = kSentinel;
    EXPECT_EQ(mgr->QueryInterface(kIUnknownId, &out), E_NOINTERFACE);
    EXPECT_EQ(out, nullptr);
    EXPECT_EQ(mgr->QueryInterface(IID_IZanDB4QueryMgr, nullptr), E_INVALIDARG);
    EXPECT_EQ(static_cast<CZanDB4DBQueryMgr*>(mgr)->RefCount(), 1);

    // A manager from the factory builds nodes like any other.
    ComPtr<IZanDB4QueryNode> node;
    ASSERT_EQ(mgr->CreateIsFavoriteNode(node.Receive(), kTrue), S_OK);
    EXPECT_EQ(TextOf(node.Get()), u"is_favorite='1'");
    EXPECT_EQ(mgr->Release(), 0u);
}

}  // namespace
