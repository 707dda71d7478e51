#include "platform/Text.h"

#include <gtest/gtest.h>
#include <unicode/brkiter.h>
#include <unicode/locid.h>
#include <unicode/unistr.h>

#include <algorithm>
#include <cstdlib>
#include <ctime>
#include <limits>
#include <memory>
#include <string>
#include <vector>

namespace quillbay {
namespace {

constexpr const char* family = "\U0001F468\u200D\U0001F469\u200D\U0001F467\u200D\U0001F466";
constexpr const char* germany = "\U0001F1E9\U0001F1EA";
constexpr const char* france = "\U0001F1EB\U0001F1F7";

/// The count as the Unicode library gives it for the whole text at once.
std::size_t wholeCount(const std::string& text) {
    UErrorCode status = U_ZERO_ERROR;
    const std::unique_ptr<icu::BreakIterator> characters(
        icu::BreakIterator::createCharacterInstance(icu::Locale::getRoot(), status));
    characters->setText(icu::UnicodeString::fromUTF8(text));
    std::size_t count = 0;
    while (characters->next() != icu::BreakIterator::DONE)
        ++count;
    return count;
}

std::string joined(const std::vector<std::string>& parts) {
    std::string text;
    for (const std::string& part : parts)
        text += part;
    return text;
}

std::string repeated(std::string_view part, std::size_t times) {
    std::string text;
    for (std::size_t count = 0; count < times; ++count)
        text += part;
    return text;
}

TEST(Text, counts_what_a_person_sees_as_one_character) {
    EXPECT_EQ(characterCount(""), 0U);
    EXPECT_EQ(characterCount("abc"), 3U);
    EXPECT_EQ(characterCount("Wi\u2011Fi \u2026 \u2192"), 9U);
    EXPECT_EQ(characterCount(family), 1U);
    EXPECT_EQ(characterCount("e\u0301\u0323"), 1U);
    EXPECT_EQ(characterCount("\u1100\u1161\u11A8"), 1U);    // a Korean syllable from its three letters
    EXPECT_EQ(characterCount("\U0001F44D\U0001F3FD"), 1U);  // a thumb with a colour of skin
    EXPECT_EQ(characterCount("\u0BA8\u0BBF"), 1U);          // a Tamil consonant with its vowel
    EXPECT_EQ(characterCount(std::string_view("a\0b", 3)), 3U);
}

TEST(Text, pairs_flags_from_the_beginning_of_their_run) {
    const std::string flags = std::string(germany) + france;
    EXPECT_EQ(characterCount(flags), 2U);
    EXPECT_EQ(lastCharacters(flags, 1), france);
    const std::string odd = flags + "\U0001F1EE";
    EXPECT_EQ(characterCount(odd), 3U);
    EXPECT_EQ(lastCharacters(odd, 1), "\U0001F1EE");
    EXPECT_EQ(lastCharacters(odd, 2), std::string(france) + "\U0001F1EE");
}

/// What joins and what does not, each next to each, with plain letters on either side: the shorter way that
/// plain letters take must give what the whole text gives when read character by character.
TEST(Text, counts_the_same_whatever_stands_beside) {
    const std::vector<std::string> parts = {"a",      "\r",     "\n",     "\u0301",     "\u200D",
                                            "\u0600", "\u1100", "\u1161", "\U0001F1E9", "\U0001F468",
                                            "\u0903", "\u00E9", "\u2028", " "};
    const std::string plain = "plain letters follow";
    for (const std::string& first : parts) {
        for (const std::string& second : parts) {
            for (const std::string& third : parts) {
                const std::string text = joined({"x", first, second, third, plain, first, "z"});
                const std::size_t count = characterCount(text);
                std::string rebuilt;
                for (std::size_t taken = 1; taken <= count; ++taken)
                    rebuilt += lastCharacters(firstCharacters(text, taken), 1);
                EXPECT_EQ(rebuilt, text);
                EXPECT_EQ(count, wholeCount(text)) << testing::PrintToString(text);
            }
        }
    }
}

TEST(Text, takes_carriage_return_and_line_feed_as_one) {
    EXPECT_EQ(characterCount("a\r\nb"), 3U);
    EXPECT_EQ(characterCount("\n\r"), 2U);
    EXPECT_EQ(characterCount("\r\r\n\n"), 3U);
    EXPECT_EQ(firstCharacters("a\r\nb", 2), "a\r\n");
    EXPECT_EQ(lastCharacters("a\r\nb", 2), "\r\nb");
}

TEST(Text, cuts_between_characters_only) {
    const std::string text = std::string("x") + family + "e\u0301y";
    EXPECT_EQ(firstCharacters(text, 0), "");
    EXPECT_EQ(firstCharacters(text, 1), "x");
    EXPECT_EQ(firstCharacters(text, 2), std::string("x") + family);
    EXPECT_EQ(firstCharacters(text, 3), std::string("x") + family + "e\u0301");
    EXPECT_EQ(firstCharacters(text, 4), text);
    EXPECT_EQ(firstCharacters(text, 5), text);
    EXPECT_EQ(lastCharacters(text, 0), "");
    EXPECT_EQ(lastCharacters(text, 1), "y");
    EXPECT_EQ(lastCharacters(text, 2), "e\u0301y");
    EXPECT_EQ(lastCharacters(text, 3), std::string(family) + "e\u0301y");
    EXPECT_EQ(lastCharacters(text, 4), text);
    EXPECT_EQ(lastCharacters(text, 400), text);
    EXPECT_EQ(lastCharacters("", 3), "");
}

TEST(Text, reads_invalid_bytes_as_replacement_characters) {
    EXPECT_EQ(firstCharacters("a\xFF"
                              "b",
                              9),
              "a\uFFFD"
              "b");
    EXPECT_EQ(lastCharacters("a\xFF"
                             "b",
                             2),
              "\uFFFD"
              "b");
    EXPECT_EQ(characterCount("\xE2\x82"
                             "x"),
              2U);                              // a beginning without its end is one
    EXPECT_EQ(characterCount("\xC0\xAF"), 2U);  // an overlong form is not read
    EXPECT_EQ(trimmed(" \x80 "), "\uFFFD");
    EXPECT_EQ(lowercased("A\xF0\x9F"
                         "B"),
              "a\uFFFD"
              "b");
    EXPECT_EQ(trimmed("\xED\xA0\x80"), "\uFFFD\uFFFD\uFFFD");  // half a surrogate pair
}

TEST(Text, lower_cases_every_script_without_a_locale) {
    EXPECT_EQ(lowercased(""), "");
    EXPECT_EQ(lowercased("POSIXErrorCode(rawValue: 61)"), "posixerrorcode(rawvalue: 61)");
    EXPECT_EQ(lowercased("\u0130I\u0131i"), "i\u0307i\u0131i");  // Turkish letters, no Turkish rules
    EXPECT_EQ(lowercased("STRA\u1E9EE \u00C4\u00D6\u00DC \u00DF"), "stra\u00DFe \u00E4\u00F6\u00FC \u00DF");
    EXPECT_EQ(lowercased("\u039F\u0394\u039F\u03A3 \u03A3"),
              "\u03BF\u03B4\u03BF\u03C2 \u03C3");  // final and not
    EXPECT_EQ(lowercased("\u041C\u0418\u0420"), "\u043C\u0438\u0440");
    EXPECT_EQ(lowercased("\U00010400"), "\U00010428");
    EXPECT_EQ(lowercased(std::string_view("A\0B", 3)), std::string("a\0b", 3));
}

TEST(Text, lower_cases_the_same_in_a_turkish_environment) {
    ::setenv("LC_ALL", "tr_TR.UTF-8", 1);
    EXPECT_EQ(lowercased("WI-FI"), "wi-fi");
    ::unsetenv("LC_ALL");
}

TEST(Text, trims_exactly_the_documented_set) {
    const std::vector<std::string> blanks = {
        "\t",     "\n",     "\v",     "\f",     "\r",     " ",      "\u0085", "\u00A0", "\u1680",
        "\u2000", "\u2001", "\u2002", "\u2003", "\u2004", "\u2005", "\u2006", "\u2007", "\u2008",
        "\u2009", "\u200A", "\u2028", "\u2029", "\u202F", "\u205F", "\u3000"};
    for (const std::string& blank : blanks) {
        EXPECT_EQ(trimmed(joined({blank, "a", blank, "b", blank})), joined({"a", blank, "b"}))
            << testing::PrintToString(blank);
        EXPECT_EQ(trimmed(blank + blank), "") << testing::PrintToString(blank);
    }
    for (const std::string kept :
         {"\x08", "\x0E", "\x1C", "\x1F", "\u0084", "\u0086", "\u180E", "\u200B", "\u2060", "\uFEFF"})
        EXPECT_EQ(trimmed(joined({kept, "a", kept})), joined({kept, "a", kept}))
            << testing::PrintToString(kept);
}

TEST(Text, trims_both_ends_and_nothing_between) {
    EXPECT_EQ(trimmed(""), "");
    EXPECT_EQ(trimmed("a"), "a");
    EXPECT_EQ(trimmed(" \r\n a  b\t\n"), "a  b");
    EXPECT_EQ(trimmed(" \u00E9 "), "\u00E9");
    EXPECT_EQ(trimmed(" \u0301"), "\u0301");
}

/// The log is cut on the log's own thread: it must not hold up the lines behind it.
void expectQuickCut(std::string_view part, std::size_t charactersInPart) {
    constexpr std::size_t bytes = 2'097'153;
    constexpr std::size_t kept = 1'048'576;
    const std::size_t parts = bytes / part.size() + 1;
    const std::string text = repeated(part, parts);
    std::string last;
    double quickest = std::numeric_limits<double>::max();
    for (int round = 0; round < 3; ++round) {
        const std::clock_t start = std::clock();  // of this process alone: the machine may be busy
        last = lastCharacters(text, kept);
        quickest = std::min(quickest, static_cast<double>(std::clock() - start) / CLOCKS_PER_SEC);
    }
    const std::size_t keptParts = std::min(parts, kept / charactersInPart);
    EXPECT_EQ(last.size(), keptParts * part.size());
    EXPECT_TRUE(text.ends_with(last));
    constexpr double limitSeconds = 0.2;  // 0.004 to 0.09 were seen
    EXPECT_LT(quickest, limitSeconds);
}

TEST(Text, cuts_two_megabytes_of_plain_letters_quickly) {
    expectQuickCut("a", 1);
}
TEST(Text, cuts_two_megabytes_of_accented_letters_quickly) {
    expectQuickCut("\u00E9", 1);
}
TEST(Text, cuts_two_megabytes_of_flags_quickly) {
    expectQuickCut(germany, 1);
}
TEST(Text, cuts_two_megabytes_of_families_quickly) {
    expectQuickCut(family, 1);
}
TEST(Text, cuts_two_megabytes_of_german_quickly) {
    expectQuickCut("f\u00FCr uns ", 8);
}
TEST(Text, cuts_two_megabytes_of_log_lines_quickly) {
    expectQuickCut("2025-03-14 09:26:53.589  Wi\u2011Fi.\n", 32);
}

TEST(Text, cuts_one_character_of_two_megabytes_quickly) {
    const std::string accents = "a" + repeated("\u0301", 1'048'576);
    const std::clock_t start = std::clock();
    EXPECT_EQ(characterCount(accents), 1U);
    EXPECT_EQ(lastCharacters(accents, 1), accents);
    EXPECT_LT(static_cast<double>(std::clock() - start) / CLOCKS_PER_SEC, 1.0);
}

TEST(TrimmedBlanks, takes_blanks_at_both_ends_and_no_line_breaks) {
    for (const std::string blank : {" ", "\t", "\u00A0", "\u1680", "\u2003", "\u202F", "\u205F", "\u3000"}) {
        EXPECT_EQ(trimmedBlanks(blank + "a" + blank + "b" + blank), "a" + blank + "b")
            << testing::PrintToString(blank);
        EXPECT_EQ(trimmedBlanks(blank + blank), "") << testing::PrintToString(blank);
    }
    for (const std::string kept : {"\n", "\r", "\v", "\f", "\u0085", "\u2028", "\u2029", "\u200B", "x"})
        EXPECT_EQ(trimmedBlanks(kept + "a" + kept), kept + "a" + kept) << testing::PrintToString(kept);
    EXPECT_EQ(trimmedBlanks(" \n a \n "), "\n a \n");
    EXPECT_EQ(trimmedBlanks(""), "");
    EXPECT_EQ(trimmedBlanks(" \x80 "), "\uFFFD");
}

}  // namespace
}  // namespace quillbay
