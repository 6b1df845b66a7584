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
}
