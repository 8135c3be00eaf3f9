// NameStoreTest.cpp - the characters of names, added and walked.

#include "NameStore.h"

#include <QX/Types.h>

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

namespace {

using QX::LIBuffer;
using QX::NameStore;
using QX::RCPtr;

using Names = std::vector<std::string>;

Names NamesFrom(const NameStore& store, NameStore::Place& place)
{
    Names seen;
    while (const char* const name = store.Next(place)) {
        seen.emplace_back(name);
    }
    return seen;
}

TEST(NameStore, KeepsACopyOfEachName)
{
    NameStore store;
    std::string text = "level.changed";

    const char* const name = store.Add(text);
    text[0] = '?';

    EXPECT_STREQ(name, "level.changed");
}

// More than fit into one chunk.
TEST(NameStore, KeepsNamesOfEveryLengthApart)
{
    NameStore store;
    std::vector<const char*> names;

    for (std::size_t length = 1; length <= 400; ++length) {
        names.push_back(store.Add(std::string(length, 'n')));
    }

    for (std::size_t length = 1; length <= 400; ++length) {
        ASSERT_EQ(std::strlen(names[length - 1]), length);
    }
}

TEST(NameStore, IsWalkedInTheOrderOfAddition)
{
    NameStore store;
    NameStore::Place place;

    EXPECT_EQ(store.Next(place), nullptr);
    store.Add("b");
    const char* const second = store.Add("a");

    EXPECT_EQ(NamesFrom(store, place), (Names{"b", "a"}));
    EXPECT_EQ(store.Next(place), nullptr);
    store.Add("c");
    EXPECT_EQ(NamesFrom(store, place), (Names{"c"}));

    NameStore::Place fromTheStart;
    store.Next(fromTheStart);
    EXPECT_EQ(store.Next(fromTheStart), second);
}

// The large one does not fit behind the small one, and nothing fits behind the large one.
TEST(NameStore, IsWalkedThroughAllOfItsMemory)
{
    const std::string large(20000, 'l');
    NameStore store;
    NameStore::Place place;

    store.Add("small");
    EXPECT_EQ(NamesFrom(store, place), (Names{"small"}));
    store.Add(large);
    store.Add("other");

    EXPECT_EQ(NamesFrom(store, place), (Names{large, "other"}));
    NameStore::Place fromTheStart;
    EXPECT_EQ(NamesFrom(store, fromTheStart), (Names{"small", large, "other"}));
}

// 16384 bytes are a chunk.
TEST(NameStore, FillsAChunkToItsLastByte)
{
    NameStore store;
    NameStore::Place place;

    const char* const first = store.Add(std::string(16379, 'f'));
    const char* const second = store.Add("abc");
    const char* const third = store.Add("d");

    EXPECT_EQ(second, first + 16380);
    EXPECT_NE(third, second + 4);
    EXPECT_EQ(NamesFrom(store, place), (Names{std::string(16379, 'f'), "abc", "d"}));
}

TEST(NameStore, StartsAChunkWhereOneByteIsMissing)
{
    NameStore store;
    NameStore::Place place;

    const char* const first = store.Add(std::string(16382, 'f'));
    const char* const second = store.Add("s");

    EXPECT_NE(second, first + 16383);
    EXPECT_EQ(NamesFrom(store, place), (Names{std::string(16382, 'f'), "s"}));
}

TEST(NameStore, LeavesItsMemoryToWhoeverHoldsIt)
{
    RCPtr<LIBuffer> chunk;
    const char* name = nullptr;
    {
        NameStore store;
        store.Add("before");
        name = store.Add("held");
        NameStore::Place place;
        NamesFrom(store, place);

        chunk = store.GetChunk(place);
    }

    EXPECT_STREQ(name, "held");
    EXPECT_EQ(chunk->GetReferenceCount(), 1);
}

} // namespace
