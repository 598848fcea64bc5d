#include "zarlib/companion/qxstl.h"

#include <gtest/gtest.h>

#include <climits>

TEST(Qx, ComparesBytesAndFoldsTheCaseOfAsciiOnly) {
  const std::string ascending[] = {"", "A", "AB", "Z", "[", "z[", "{", "\x80", "\xC3\x89", "\xC3\xA9"};
  for (size_t i = 1; i < std::size(ascending); ++i) {
    const std::string &a = ascending[i - 1], &b = ascending[i];
    EXPECT_TRUE(qx::string_compare(a, b, true) < 0 && qx::string_diff(b.c_str(), a, true) > 0) << b;
    EXPECT_TRUE(qx::string_diff(a, b.c_str(), true) < 0 && qx::qx_strcmp(b.c_str(), a.c_str(), true) > 0) << b;
  }
  EXPECT_EQ(qx::string_compare("ABZ[@\xC9", "abz[@\xC9", false), 0);
  EXPECT_TRUE(qx::string_compare("Y[", "y{", false) < 0 && qx::qx_strcmp("\xC3\xA9", "\xC3\x89", false) > 0);
}

TEST(Qx, FindsTheFirstOfSeveralTokensAndPrefersTheEarlierInTheList) {
  const std::tuple<const char *, int, int> cases[] = {
      {"a<b<!--", 1, 1}, {"a<!--", 1, 0}, {"\xFF<!-", 0, 4}, {"a", -1, 7}};
  for (const auto &[text, at, token] : cases) {
    int index = 7;
    const auto tokens = qx::stringarray_builder_by_token("<!--", "<", "", "<!", "\xFF", nullptr);
    EXPECT_TRUE(qx::string_find_first_one_of(text, tokens, index) == at && index == token) << text;
  }
}

TEST(Qx, CutsTrimsReplacesAndBuildsInPlace) {
  std::string left, text = "a::b::c", blank = " \t ";
  EXPECT_TRUE(qx::string_slice2(text, "::", left, text) == 1 && left == "a" && text == "b::c");
  EXPECT_TRUE(qx::string_slice2(text, "/", left, text) == -1 && left == "b::c" && text.empty());
  qx::trim_left(text = " \t a b ", "\t ");
  qx::trim_right(left = " \t a b ", "\t ");
  qx::trim_both(blank, "\t ");
  EXPECT_EQ(text + left + blank, "a b  \t a b");
  qx::string_replace(text = "aaa&", "aa", "a&");
  for (const char *from : {"", "&"}) qx::string_replace(text, from, "");
  EXPECT_EQ(text, "aa");
}

TEST(Qx, ConvertsBetweenUtf8WideAndNarrowText) {
  const std::string utf8 = "a\x7F\xC2\x80\xDF\xBF\xE0\xA0\x80\xEF\xBF\xBF\xF0\x90\x80\x80\xF4\x8F\xBF\xBF";
  EXPECT_EQ(qx::string_utf8_to_wstring(utf8), L"a\x7F\x80\x7FF\x800\xFFFF\U00010000\U0010FFFF");
  EXPECT_EQ(qx::string_wstring_to_utf8(qx::string_utf8_to_wstring(utf8)), utf8);
  // Stray and missing continuation bytes, overlong forms, surrogates, and code points above Unicode's.
  for (const std::string broken :
       {"\x80", "\xC3(", "\xC1\x81", "\xE0\x80\x80", "\xE2\x82", "\xED\xA0\x80", "\xF4\x90\x80\x80"}) {
    const std::wstring result = qx::string_utf8_to_wstring(broken + "z");
    EXPECT_TRUE(result.front() == L'\xFFFD' && result.back() == L'z') << broken;
  }
  const wchar_t high = static_cast<wchar_t>(0xD83D), low = static_cast<wchar_t>(0xDE00);
  EXPECT_EQ(qx::string_wstring_to_utf8({high, low, low, L'\0', L'a'}), "\xF0\x9F\x98\x80\xEF\xBF\xBD");
  const char *const western = sizeof(wchar_t) == 2 ? "1252" : "ISO-8859-1"; // a code page, or an iconv name
  const auto as_utf8 = [](const char *page) { return qx::string_ascii_to_utf8("\xE9", page); };
  EXPECT_EQ(as_utf8(western) + as_utf8("99999") + as_utf8("none"), "\xC3\xA9\xE9\xE9");
  EXPECT_EQ(as_utf8("1") == "\xE9", sizeof(wchar_t) > 2) << "a number that stands for a page of the system";
  EXPECT_EQ(qx::string_utf8_to_ascii("\xC3\xA9\xE4\xB8\xADz", western), "\xE9?z") << "one mark for one character";
}

TEST(Qx, FormatsTextsOfAnyLengthAndReadsNumbers) {
  for (const size_t length : {0, 509, 510, 511, 5000})
    EXPECT_EQ(qx::format_astring("<%s>", std::string(length, 'x').c_str()), "<" + std::string(length, 'x') + ">");
  for (const auto &[text, number] :
       {std::pair(" -012x", -12), {"2147483648", INT_MAX}, {"-99999999999999999999", INT_MIN}})
    EXPECT_EQ(qx::string_to_int(text), number);
}
