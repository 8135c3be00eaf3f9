// StringArrayTest.cpp - the vector of strings and its lookups.

#include <QX/StringArray.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <random>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

using QX::int32;
using QX::String;
using QX::uint32;
using Strings = QX::StringArrayT<char>;

constexpr int32 kOutOfRange = static_cast<int32>(0x80000003u);
constexpr int32 kFailure = static_cast<int32>(0x80000008u);

using Texts = std::vector<std::string>;

void Fill(Strings& strings, const Texts& texts)
{
    for (const std::string& text : texts) {
        strings.AppendItem(text.c_str());
    }
}

Texts TextsOf(const Strings& strings)
{
    Texts texts;
    for (uint32 index = 0; index < strings.GetCount(); ++index) {
        texts.push_back(strings.GetAt(index)->CStr());
    }
    return texts;
}

static_assert(std::is_same_v<Strings, QX::StringArrayT<char, unsigned short>>);
static_assert(std::is_base_of_v<QX::Array<String>, Strings>);
static_assert(std::is_base_of_v<QX::IArray<String>, QX::Array<String>>);
static_assert(std::is_nothrow_move_constructible_v<Strings>);
static_assert(std::is_nothrow_move_assignable_v<Strings>);

/// An array with room for two strings.
class SmallArray : public Strings
{
public:
    uint32 GetMaxCount() const override { return 2; }
};

TEST(StringArray, InsertItemKeepsToTheLargestCount)
{
    SmallArray strings;
    Fill(strings, {"a", "b"});

    EXPECT_EQ(strings.InsertItem(1, "c"), kFailure);
    EXPECT_EQ(TextsOf(strings), (Texts{"a", "b"}));
}

TEST(StringArray, StartsEmpty)
{
    const Strings strings;

    EXPECT_EQ(strings.GetCount(), 0u);
    EXPECT_EQ(strings.GetMaxCount(), 0x7FFFFFFFu);
    EXPECT_EQ(strings.GetPtr(), nullptr);
    EXPECT_EQ(strings.GetIteratorHandleBegin(), nullptr);
    EXPECT_EQ(strings.GetIteratorHandleEnd(), nullptr);
    EXPECT_EQ(strings.GetBegin(), strings.GetEnd());
}

TEST(StringArray, RefusesCountsAboveTheLargest)
{
    Strings strings;
    Fill(strings, {"a", "b"});

    EXPECT_EQ(strings.Insert(0, 0xFFFFFFFF), kFailure);
    EXPECT_EQ(strings.Insert(2, 0x7FFFFFFE), kFailure);
    EXPECT_EQ(strings.SetCount(0x80000000), kFailure);

    EXPECT_EQ(TextsOf(strings), (Texts{"a", "b"}));
}

TEST(StringArray, RemoveChecksItsWholeRange)
{
    struct Row
    {
        const char* what;
        uint32 index;
        uint32 count;
        int32 result;
        Texts after;
    };
    const Row rows[] = {
        {"nothing at a valid index", 1, 0, 2, {"a", "b"}},
        {"nothing at the end", 2, 0, kOutOfRange, {"a", "b"}},
        {"the first", 0, 1, 1, {"b"}},
        {"the last", 1, 1, 1, {"a"}},
        {"all", 0, 2, 0, {}},
        {"one too many", 1, 2, kOutOfRange, {"a", "b"}},
        {"a range that wraps", 1, 0xFFFFFFFF, kOutOfRange, {"a", "b"}},
        {"an index far outside", 0xFFFFFFFF, 1, kOutOfRange, {"a", "b"}},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.what);
        Strings strings;
        Fill(strings, {"a", "b"});

        EXPECT_EQ(strings.Remove(row.index, row.count), row.result);

        EXPECT_EQ(TextsOf(strings), row.after);
    }
}

TEST(StringArray, RemoveItemHandsTheStringOut)
{
    Strings strings;
    Fill(strings, {"a", "b", "c"});
    const char* const characters = strings.GetAt(1)->CStr();
    String removed("old");

    EXPECT_EQ(strings.RemoveItem(1, removed), 2);

    EXPECT_STREQ(removed.CStr(), "b");
    EXPECT_EQ(removed.CStr(), characters);
    EXPECT_EQ(TextsOf(strings), (Texts{"a", "c"}));
    EXPECT_EQ(strings.RemoveLast(removed), 1);
    EXPECT_STREQ(removed.CStr(), "c");
}

/// Returns the text of the std::out_of_range that `action` throws.
template <class Action>
std::string RangeErrorOf(Action action)
{
    try {
        action();
    } catch (const std::out_of_range& error) {
        return error.what();
    }
    return "nothing was thrown";
}

TEST(StringArray, ABadIndexThrowsTheVectorsError)
{
    const std::string three = RangeErrorOf([] { std::vector<int>(2).at(3); });
    Strings strings;
    const Strings& reader = strings;
    Fill(strings, {"a", "b"});
    String removed("kept");

    EXPECT_EQ(RangeErrorOf([&] { strings.GetAt(3); }), three);
    EXPECT_EQ(RangeErrorOf([&] { reader.GetAt(3); }), three);
    EXPECT_EQ(RangeErrorOf([&] { strings.RemoveItem(3, removed); }), three);

    EXPECT_THROW(strings.GetAt(2), std::out_of_range);
    EXPECT_STREQ(removed.CStr(), "kept");
    EXPECT_EQ(strings.GetCount(), 2u);
}

TEST(StringArray, RemoveLastOfAnEmptyOneThrowsForTheLargestIndex)
{
    const std::string expected = RangeErrorOf([] { std::vector<int>().at(0xFFFFFFFFu); });
    Strings strings;
    String removed("kept");

    EXPECT_EQ(RangeErrorOf([&] { strings.RemoveLast(removed); }), expected);

    EXPECT_STREQ(removed.CStr(), "kept");
}

TEST(StringArray, RemovesAnElementIntoAnother)
{
    Strings strings;
    Fill(strings, {"a", "b", "c"});

    EXPECT_EQ(strings.RemoveItem(0, *strings.GetAt(2)), 2);

    EXPECT_EQ(TextsOf(strings), (Texts{"b", "a"}));
}

TEST(StringArray, AppendOverwritesFromTheFirstElementOn)
{
    Strings strings;
    Fill(strings, {"a", "b"});
    Strings other;
    Fill(other, {"x"});

    EXPECT_EQ(strings.Append(other), 3);

    EXPECT_EQ(TextsOf(strings), (Texts{"x", "b", ""}));
    EXPECT_EQ(strings.Append(strings), 6);
    EXPECT_EQ(TextsOf(strings), (Texts{"x", "b", "", "", "", ""}));
}

TEST(StringArray, CopyReplacesEverything)
{
    Strings strings;
    Fill(strings, {"1", "2", "3", "4", "5"});
    Strings other;
    Fill(other, {"a", "b", "c"});

    EXPECT_EQ(strings.Copy(other), 3);

    EXPECT_EQ(TextsOf(strings), (Texts{"a", "b", "c"}));
    EXPECT_EQ(strings.GetAt(0)->CStr(), other.GetAt(0)->CStr());
    EXPECT_EQ(strings.Copy(strings), 0);
}

TEST(StringArray, SwapExchangesWithinTheArrayOnly)
{
    Strings strings;
    Fill(strings, {"a", "b"});

    EXPECT_EQ(strings.Swap(0, 2), kOutOfRange);
    EXPECT_EQ(strings.Swap(1, 1), 0);
    EXPECT_EQ(strings.Swap(0, 1), 0);

    EXPECT_EQ(TextsOf(strings), (Texts{"b", "a"}));
}

TEST(StringArray, IsWalkedByItsIterator)
{
    Strings strings;
    Fill(strings, {"a", "b"});
    QX::IteratorT<String> walk = strings.GetBegin();

    EXPECT_STREQ(walk.GetCurrentMoveNext()->CStr(), "a");
    EXPECT_STREQ(walk.GetCurrentMoveNext()->CStr(), "b");
    EXPECT_EQ(walk, strings.GetEnd());
}

TEST(StringArray, FindStringComparesWithOrWithoutCase)
{
    Strings strings;
    EXPECT_EQ(strings.FindString("", true), -1);
    EXPECT_EQ(strings.FindString("", false), -1);
    Fill(strings, {"abc", "ABC", "abc", "", "abcd"});

    EXPECT_EQ(strings.FindString("ABC", true), 1);
    EXPECT_EQ(strings.FindString("ABC", false), 0);
    EXPECT_EQ(strings.FindString("abc", true), 0);
    EXPECT_EQ(strings.FindString("aBc", true), -1);
    EXPECT_EQ(strings.FindString("ABCD", false), 4);
    EXPECT_EQ(strings.FindString("ab", false), -1);
    EXPECT_EQ(strings.FindString("", true), 3);
    EXPECT_EQ(strings.FindString("", false), 3);
}

TEST(StringArray, FindContainedGoesByIdentityFromTheEnd)
{
    Strings strings;
    const String shared("abc");
    const String equal("abc");
    EXPECT_EQ(strings.FindContained(shared.CStr()), -1);
    EXPECT_EQ(strings.FindContained(nullptr), -1);
    strings.AppendItem(shared);
    strings.AppendItem("abc");
    strings.AppendItem(shared);

    EXPECT_EQ(strings.FindContained(shared.CStr()), 2);
    EXPECT_EQ(strings.FindContained(strings.GetAt(1)->CStr()), 1);
    EXPECT_EQ(strings.FindContained(equal.CStr()), -1);
    EXPECT_EQ(strings.FindContained(shared.CStr() + 1), -1);
    EXPECT_EQ(strings.FindContained(nullptr), -1);
}

TEST(StringArray, CharactersKeepTheirAddressWhileTheArrayGrows)
{
    Strings strings;
    const String shared("a");
    strings.AppendItem("x");
    strings.AppendItem(shared);

    for (uint32 index = 0; index < 1000; ++index) {
        strings.AppendItem("more");
    }
    strings.InsertItem(0, "front");

    EXPECT_EQ(strings.FindContained(shared.CStr()), 2);
    EXPECT_EQ(strings.GetAt(2)->CStr(), shared.CStr());
}

TEST(StringArray, StoresALockedStringAsAnUnlockedCopy)
{
    Strings strings;
    String locked("abc");
    char* const field = locked.Lock(16);

    strings.AppendItem(locked);

    EXPECT_FALSE(strings.GetAt(0)->IsLocked());
    EXPECT_NE(strings.GetAt(0)->CStr(), field);
    EXPECT_STREQ(strings.GetAt(0)->CStr(), "abc");
    EXPECT_EQ(strings.FindContained(field), -1);
    std::strcpy(field, "xyz");
    EXPECT_STREQ(strings.GetAt(0)->CStr(), "abc");
}

TEST(StringArray, BehavesAsAVectorUnderRandomOperations)
{
    for (uint32 seed = 0; seed < 10; ++seed) {
        SCOPED_TRACE(seed);
        std::mt19937 random(seed);
        Strings strings;
        Texts model;
        for (int step = 0; step < 300; ++step) {
            const auto count = static_cast<uint32>(random() % 4);
            const auto index = static_cast<uint32>(random() % (model.size() + 2));
            const auto at = [&model](uint32 place) {
                return model.begin() + static_cast<std::ptrdiff_t>(place);
            };
            const std::string text(random() % 3 + 1, static_cast<char>('a' + random() % 4));
            const std::size_t size = model.size();
            int32 result = 0;
            std::size_t expected = 0;
            bool isInside = index <= size;
            switch (random() % 7) {
            case 0:
                result = strings.Insert(index, count);
                expected = size + count;
                model.insert(at(isInside ? index : 0), isInside ? count : 0, "");
                break;
            case 1:
                result = strings.InsertItem(index, text.c_str());
                expected = index;
                model.insert(at(isInside ? index : 0), isInside ? 1 : 0, text);
                break;
            case 2:
                isInside = index < size && index + count <= size;
                result = strings.Remove(index, count);
                expected = size - count;
                model.erase(at(isInside ? index : 0), at(isInside ? index + count : 0));
                break;
            case 3:
                isInside = true;
                result = strings.AppendItem(text.c_str());
                expected = size;
                model.push_back(text);
                break;
            case 4:
                isInside = true;
                result = strings.SetCount(index);
                expected = index;
                model.resize(index);
                break;
            case 5:
                isInside = isInside && count < size;
                if (isInside) {
                    result = strings.InsertItem(index, *strings.GetAt(count));
                    expected = index;
                    model.insert(at(index), std::string(model[count]));
                } else {
                    result = kOutOfRange;
                }
                break;
            default:
                isInside = index < size && count < size;
                result = strings.Swap(index, count);
                if (isInside) {
                    std::swap(model[index], model[count]);
                }
                break;
            }
            ASSERT_EQ(result, isInside ? static_cast<int32>(expected) : kOutOfRange);
            ASSERT_EQ(TextsOf(strings), model);
            const auto found = std::find(model.begin(), model.end(), text);
            ASSERT_EQ(strings.FindString(text.c_str(), true),
                      found == model.end() ? -1 : found - model.begin());
        }
    }
}

} // namespace
