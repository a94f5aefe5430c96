#pragma once
// How a unit tells its state: as names with values, the same way whether it is being saved or
// restored. A unit's Visit names every member in a structured binding, so that one that is added
// does not compile until Visit says what becomes of it.
#include <array>
#include <bit>
#include <cstdint>
#include <limits>
#include <span>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

namespace board {

class StateVisitor {
  public:
    // What lists and maps of a unit's own types look like: so many words for each element.
    template <typename T>
    static constexpr bool kPlain = std::is_arithmetic_v<T> || std::is_enum_v<T>;

    virtual ~StateVisitor() = default;

    // A number, flag or enumerator from `low` to `high`.
    template <typename T>
    void Value(const char* name, T& value, T low = Lowest<T>(), T high = Highest<T>()) {
        static_assert(kPlain<T>);
        Words words{WordOf(value)};
        Exchange(name, kBytes<T>, words, true);
        const T got = ValueOf<T>(words[0]);
        Check(name, FitsInto<T>(words[0]) && InRange(got, low, high));
        Keep(value, got);
    }

    // As many numbers as there are.
    template <typename T, size_t Count>
    void Values(const char* name, std::array<T, Count>& values) {
        Words words;
        words.reserve(Count);
        for (const T& value : values) {
            words.push_back(WordOf(value));
        }
        Exchange(name, kBytes<T>, words, true);
        for (size_t i = 0; i < Count; ++i) {
            Check(name, FitsInto<T>(words[i]));
            Keep(values[i], ValueOf<T>(words[i]));
        }
    }

    // Words of a list that grows: `words` is what it holds, and afterwards what it has to hold, a
    // whole number of elements of `wordsPerElement` words. good(element) says whether the words
    // from there on can be an element.
    template <typename Good>
    void List(const char* name, std::vector<uint64_t>& words, size_t wordsPerElement, Good&& good) {
        Words exchanged = words;
        Exchange(name, sizeof(uint64_t), exchanged, false);
        bool allGood = exchanged.size() % wordsPerElement == 0;
        for (size_t i = 0; allGood && i < exchanged.size(); i += wordsPerElement) {
            allGood = good(&exchanged[i]);
        }
        Check(name, allGood);
        Keep(words, exchanged);
    }
    static constexpr bool Any(const uint64_t*) { return true; }
    static constexpr bool Word32(const uint64_t* word) { return *word <= 0xFFFFFFFF; }

    // Text, and other bytes of which there may be any number.
    virtual void Text(const char* name, std::string& text) = 0;

    // A part with a Visit of its own: names inside it stand behind this one and a dot.
    template <typename Part>
    void Within(std::string_view name, Part& part) {
        const size_t length = prefix_.size();
        prefix_.append(name).append(".");
        part.Visit(*this);
        prefix_.resize(length);
    }

  protected:
    using Words = std::vector<uint64_t>;

    // Hands over the words of `name`, each `bytes` wide, for those that belong there. With `fixed`
    // their number stays as it is.
    virtual void Exchange(const char* name, uint32_t bytes, Words& words, bool fixed) = 0;
    // False: what was handed over last cannot be.
    virtual void Check(const char* name, bool good) = 0;
    // What was handed over goes into the units.
    virtual bool Keeps() const = 0;

    std::string FullName(const char* name) const { return prefix_ + name; }

    template <typename T>
    void Keep(T& place, const T& value) const {
        if (Keeps()) {
            place = value;
        }
    }

  private:
    template <typename T>
    static constexpr uint32_t kBytes = sizeof(T) <= sizeof(uint32_t) ? sizeof(uint32_t)
                                                                     : sizeof(uint64_t);
    template <typename T>
    static constexpr T Lowest() {
        return std::is_enum_v<T> ? T{} : std::numeric_limits<T>::lowest();
    }
    // Enumerators have no highest that could be known here.
    template <typename T>
    static constexpr T Highest() {
        static_assert(!std::is_enum_v<T>, "say the highest enumerator");
        return std::numeric_limits<T>::max();
    }
    template <typename T>
    static bool InRange(T value, T low, T high) {
        return std::is_floating_point_v<T> || (value >= low && value <= high);
    }
    template <typename T>
    static uint64_t WordOf(T value) {
        if constexpr (std::is_same_v<T, double>) {
            return std::bit_cast<uint64_t>(value);
        } else {
            return static_cast<uint64_t>(value);
        }
    }
    template <typename T>
    static T ValueOf(uint64_t word) {
        if constexpr (std::is_same_v<T, double>) {
            return std::bit_cast<double>(word);
        } else {
            return static_cast<T>(word);
        }
    }
    template <typename T>
    static bool FitsInto(uint64_t word) {
        return WordOf(ValueOf<T>(word)) == word;
    }

    std::string prefix_;
};

} // namespace board
