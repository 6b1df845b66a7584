#include <gtest/gtest.h>

#include <memory>

#include "core/dictionary.h"

using namespace tlm;

TEST(Dictionary, TextModeKeysIgnoreCaseAndKeepInsertionOrder) {
    Dictionary<QString> d;
    EXPECT_TRUE(d.Add(QStringLiteral("Beta"), QStringLiteral("2")));
    EXPECT_TRUE(d.Add(QStringLiteral("alpha"), QStringLiteral("1")));
    EXPECT_TRUE(d.Add(QStringLiteral("Gamma"), QStringLiteral("3")));
    EXPECT_FALSE(d.Add(QStringLiteral("BETA"), QStringLiteral("x")));  // exists by text comparison
    EXPECT_EQ(d.Keys(), (QStringList{"Beta", "alpha", "Gamma"}));
    EXPECT_TRUE(d.Exists(QStringLiteral("ALPHA")));
    EXPECT_EQ(d.Value(QStringLiteral("gamma")), QStringLiteral("3"));
    EXPECT_EQ(d.StoredKey(QStringLiteral("gAMMA")), QStringLiteral("Gamma"));
    EXPECT_TRUE(d.Remove(QStringLiteral("BETA")));
    EXPECT_FALSE(d.Exists(QStringLiteral("beta")));
    EXPECT_TRUE(d.Add(QStringLiteral("beta"), QStringLiteral("again")));
    EXPECT_EQ(d.Keys(), (QStringList{"alpha", "Gamma", "beta"}));
    d.Item(QStringLiteral("delta"));  // Item adds a missing key, as the original does
    EXPECT_EQ(d.Count(), 4);
}

TEST(Dictionary, BinaryModeKeysAreExact) {
    Dictionary<int> d(CompareMode::Binary);
    EXPECT_TRUE(d.Add(QStringLiteral("Key"), 1));
    EXPECT_TRUE(d.Add(QStringLiteral("key"), 2));
    EXPECT_EQ(d.Value(QStringLiteral("key")), 2);
    EXPECT_FALSE(d.Exists(QStringLiteral("KEY")));
    EXPECT_FALSE(d.SetCompareMode(CompareMode::Text));  // only while empty
}

TEST(Dictionary, SortByKeyIgnoresCaseAndMovesTheObjects) {
    Dictionary<std::shared_ptr<int>> d;
    auto p1 = std::make_shared<int>(1), p2 = std::make_shared<int>(2), p3 = std::make_shared<int>(3);
    d.Add(QStringLiteral("b"), p1);
    d.Add(QStringLiteral("A"), p2);
    d.Add(QStringLiteral("C"), p3);
    auto sorted = Sort(d, 1);
    EXPECT_EQ(sorted.Keys(), (QStringList{"A", "b", "C"}));  // a binary order puts "C" before "b"
    EXPECT_EQ(sorted.Value(QStringLiteral("a")).get(), p2.get());
    EXPECT_EQ(d.Count(), 0);  // the given dictionary is left empty

    Dictionary<std::shared_ptr<int>> one;
    one.Add(QStringLiteral("x"), p1);
    EXPECT_EQ(Sort(one, 1).Keys(), QStringList{QStringLiteral("x")});
    Dictionary<std::shared_ptr<int>> none;
    EXPECT_EQ(Sort(none, 1).Count(), 0);
}

TEST(Dictionary, SortByItemWithTiesFollowsTheExchangeSort) {
    // The two "a" rows end as the exchange sort leaves them, which a stable sort would not reproduce.
    Dictionary<QString> d;
    d.Add(QStringLiteral("k1"), QStringLiteral("c"));
    d.Add(QStringLiteral("k2"), QStringLiteral("a"));
    d.Add(QStringLiteral("k3"), QStringLiteral("b"));
    d.Add(QStringLiteral("k4"), QStringLiteral("A"));
    auto s = Sort(d, 2);
    EXPECT_EQ(s.Keys(), (QStringList{"k2", "k4", "k3", "k1"}));
}

TEST(Dictionary, LargeSortIsOrderedAndFast) {
    Dictionary<int> d;
    for (int i = 0; i < 50000; ++i)
        d.Add(QStringLiteral("key%1").arg((i * 7919) % 50000, 5, 10, QChar('0')), i);
    auto s = Sort(d, 1);
    const QStringList keys = s.Keys();
    ASSERT_EQ(keys.size(), 50000);
    for (int i = 1; i < keys.size(); ++i)
        ASSERT_LT(keys[i - 1].compare(keys[i], Qt::CaseInsensitive), 0);
}
