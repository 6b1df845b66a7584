#pragma once

#include <QHash>
#include <QString>
#include <QStringList>
#include <algorithm>
#include <list>
#include <optional>
#include <utility>
#include <vector>

namespace tlm {

enum class CompareMode { Binary = 0, Text = 1 };

// The keyed container of every list: enumeration in insertion order, lookup in O(1),
// keys compared exactly (Binary) or without regard to case (Text).
template <typename T>
class Dictionary {
  public:
    struct Entry {
        QString key;
        T item;
    };
    using List = std::list<Entry>;
    using const_iterator = typename List::const_iterator;
    using iterator = typename List::iterator;

    explicit Dictionary(CompareMode mode = CompareMode::Text) : mode_(mode) {}
    Dictionary(const Dictionary& o) : mode_(o.mode_) {
        for (const auto& e : o.entries_)
            Add(e.key, e.item);
    }
    Dictionary& operator=(const Dictionary& o) {
        if (this != &o) {
            RemoveAll();
            mode_ = o.mode_;
            for (const auto& e : o.entries_)
                Add(e.key, e.item);
        }
        return *this;
    }
    Dictionary(Dictionary&&) noexcept = default;
    Dictionary& operator=(Dictionary&&) noexcept = default;

    CompareMode compareMode() const { return mode_; }
    // Like the original, the mode can change only while the dictionary is empty.
    bool SetCompareMode(CompareMode mode) {
        if (!entries_.empty())
            return false;
        mode_ = mode;
        return true;
    }

    // Adding a key that exists is refused (returns false); the existing item stays.
    bool Add(const QString& key, T item) {
        const QString n = norm(key);
        if (index_.contains(n))
            return false;
        entries_.push_back(Entry{key, std::move(item)});
        index_.insert(n, std::prev(entries_.end()));
        return true;
    }
    bool Exists(const QString& key) const { return index_.contains(norm(key)); }
    T* Find(const QString& key) {
        auto it = index_.find(norm(key));
        return it == index_.end() ? nullptr : &it.value()->item;
    }
    const T* Find(const QString& key) const {
        auto it = index_.constFind(norm(key));
        return it == index_.cend() ? nullptr : &it.value()->item;
    }
    // Item(key) of the original adds an empty entry on a missing key; Value() does not.
    T Value(const QString& key, const T& fallback = T()) const {
        const T* p = Find(key);
        return p ? *p : fallback;
    }
    T& Item(const QString& key) {
        if (T* p = Find(key))
            return *p;
        Add(key, T());
        return entries_.back().item;
    }
    // The key as it was stored (its case), or empty.
    QString StoredKey(const QString& key) const {
        auto it = index_.constFind(norm(key));
        return it == index_.cend() ? QString() : it.value()->key;
    }
    bool Remove(const QString& key) {
        auto it = index_.find(norm(key));
        if (it == index_.end())
            return false;
        entries_.erase(it.value());
        index_.erase(it);
        return true;
    }
    void RemoveAll() {
        entries_.clear();
        index_.clear();
    }
    int Count() const { return int(entries_.size()); }
    bool isEmpty() const { return entries_.empty(); }

    QStringList Keys() const {
        QStringList k;
        k.reserve(Count());
        for (const auto& e : entries_)
            k.append(e.key);
        return k;
    }
    std::vector<T> Items() const {
        std::vector<T> v;
        v.reserve(entries_.size());
        for (const auto& e : entries_)
            v.push_back(e.item);
        return v;
    }

    const_iterator begin() const { return entries_.begin(); }
    const_iterator end() const { return entries_.end(); }
    iterator begin() { return entries_.begin(); }
    iterator end() { return entries_.end(); }

  private:
    QString norm(const QString& key) const { return mode_ == CompareMode::Text ? key.toCaseFolded() : key; }

    CompareMode mode_;
    List entries_;
    QHash<QString, iterator> index_;
};

// The text of an item for sorting by item; lists that sort by item hold text.
inline QString SortText(const QString& s) {
    return s;
}
template <typename T>
QString SortText(const T&) {
    return QString();
}

// Exchange sort of the original, by key (sortBy 1) or by item (2), texts compared without regard
// to case. Unequal texts end in ascending order; equal texts end where the exchange sort leaves
// them (it is not stable), which a plain sort would not reproduce, so ties take the literal path.
template <typename T>
Dictionary<T> Sort(Dictionary<T>& dict, int sortBy) {
    if (dict.Count() <= 1)
        return std::move(dict);
    std::vector<typename Dictionary<T>::Entry> rows(dict.begin(), dict.end());
    auto text = [sortBy](const typename Dictionary<T>::Entry& e) {
        return sortBy == 2 ? SortText(e.item) : e.key;
    };
    auto cmp = [&](const auto& a, const auto& b) {
        return QString::compare(text(a), text(b), Qt::CaseInsensitive);
    };
    std::vector<size_t> order(rows.size());
    for (size_t i = 0; i < order.size(); ++i)
        order[i] = i;
    std::sort(order.begin(), order.end(), [&](size_t a, size_t b) { return cmp(rows[a], rows[b]) < 0; });
    bool ties = false;
    for (size_t i = 1; i < order.size() && !ties; ++i)
        ties = cmp(rows[order[i - 1]], rows[order[i]]) == 0;
    std::vector<typename Dictionary<T>::Entry> sorted;
    sorted.reserve(rows.size());
    if (!ties) {
        for (size_t i : order)
            sorted.push_back(std::move(rows[i]));
    } else {
        for (size_t i = 0; i + 1 < rows.size(); ++i)
            for (size_t j = i; j < rows.size(); ++j)
                if (cmp(rows[i], rows[j]) > 0)
                    std::swap(rows[i], rows[j]);
        sorted = std::move(rows);
    }
    Dictionary<T> out(dict.compareMode());
    dict.RemoveAll();
    for (auto& e : sorted)
        out.Add(e.key, std::move(e.item));
    return out;
}

}  // namespace tlm
