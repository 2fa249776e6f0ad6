// GSString encodings against glibc on the same 64 MiB of UTF-8 text:
// - validation: GSString::isValidUTF8 against iconv UTF-8 to UTF-8 (which rejects what is not
//   UTF-8) and against an mbrtowc loop in the "C.UTF-8" locale;
// - UTF-8 to Windows-1252 and back, and UTF-8 to Mac OS Roman and back, with convertEncoding
//   against iconv with CP1252 and MACINTOSH; each direction is also measured on its own.
// Two texts: European prose (mostly ASCII, about one letter in twenty accented, some typographic
// quotes, dashes and euro signs) and a text of accented letters only. Every character is in both
// code pages, so every conversion succeeds and the round trips give the text back. Each iconv
// conversion writes into a buffer allocated for it, as a GSString conversion allocates its result.
#include "gs/text/GSString.h"

#include <benchmark/benchmark.h>

#include <iconv.h>

#include <clocale>
#include <cstring>
#include <cwchar>
#include <memory>
#include <random>
#include <string>

namespace {

constexpr size_t kBytes = 64u << 20;

// Characters in both Windows-1252 and Mac OS Roman, as UTF-8.
char const* const kAccented[] = {"é", "è", "ê", "à", "ç", "ü", "ö", "ä", "ß", "ñ", "ø", "å", "É", "Ü", "œ", "æ"};
char const* const kMarks[] = {"“", "”", "–", "—", "€", "…", "’", "•"};

std::string makeText(bool prose)
{
    std::mt19937 random(prose ? 11 : 12);
    std::string text;
    text.reserve(kBytes + 16);
    while (text.size() < kBytes) {
        if (!prose) {
            text += kAccented[random() % 16];
            continue;
        }
        int const length = 2 + static_cast<int>(random() % 9);
        for (int i = 0; i < length; ++i) {
            if (random() % 20 == 0)
                text += kAccented[random() % 16];
            else
                text += static_cast<char>('a' + random() % 26);
        }
        text += random() % 40 == 0 ? kMarks[random() % 8] : random() % 12 == 0 ? ", " : " ";
    }
    // Cut at a character boundary.
    size_t end = kBytes;
    while ((static_cast<unsigned char>(text[end]) & 0xC0) == 0x80)
        --end;
    text.resize(end);
    return text;
}

std::string const& text(long prose)
{
    static std::string const texts[2] = {makeText(false), makeText(true)};
    return texts[prose ? 1 : 0];
}

GSString const& utf8(long prose)
{
    static GSString const strings[2] = {GSString(text(0).data(), static_cast<long>(text(0).size()), 100),
                                        GSString(text(1).data(), static_cast<long>(text(1).size()), 100)};
    return strings[prose ? 1 : 0];
}

// The text in a code page, for the conversions from it.
GSString const& inCodePage(long prose, int tag)
{
    static GSString strings[2][2];
    GSString& s = strings[prose ? 1 : 0][tag];
    if (s.isEmpty()) {
        s = utf8(prose);
        (void)s.convertEncoding(tag);
    }
    return s;
}

void setBytes(benchmark::State& state, long prose)
{
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * static_cast<int64_t>(text(prose).size()));
    state.SetLabel(prose ? "prose" : "accented");
}

// One iconv conversion of the whole input into a new buffer; the output length, or -1.
long convert(iconv_t cd, char const* in, size_t length, std::unique_ptr<char[]>& out, size_t room)
{
    out.reset(new char[room]);
    char* src = const_cast<char*>(in);
    size_t srcLeft = length;
    char* dst = out.get();
    size_t dstLeft = room;
    iconv(cd, nullptr, nullptr, nullptr, nullptr);
    if (iconv(cd, &src, &srcLeft, &dst, &dstLeft) == static_cast<size_t>(-1))
        return -1;
    return static_cast<long>(room - dstLeft);
}

void BM_GSStringIsValidUTF8(benchmark::State& state)
{
    GSString const& s = utf8(state.range(0));
    for (auto _ : state) {
        bool const valid = s.isValidUTF8();
        if (!valid)
            state.SkipWithError("not valid");
        benchmark::DoNotOptimize(valid);
    }
    setBytes(state, state.range(0));
}

void BM_IconvValidateUTF8(benchmark::State& state)
{
    std::string const& t = text(state.range(0));
    iconv_t cd = iconv_open("UTF-8", "UTF-8");
    std::unique_ptr<char[]> out;
    for (auto _ : state)
        if (convert(cd, t.data(), t.size(), out, t.size()) < 0)
            state.SkipWithError("iconv failed");
    iconv_close(cd);
    setBytes(state, state.range(0));
}

void BM_MbrtowcValidateUTF8(benchmark::State& state)
{
    std::string const& t = text(state.range(0));
    if (!std::setlocale(LC_CTYPE, "C.UTF-8")) {
        state.SkipWithError("no C.UTF-8 locale");
        return;
    }
    for (auto _ : state) {
        std::mbstate_t mb{};
        char const* p = t.data();
        char const* end = p + t.size();
        while (p < end) {
            wchar_t c;
            size_t const n = std::mbrtowc(&c, p, static_cast<size_t>(end - p), &mb);
            if (n == static_cast<size_t>(-1) || n == static_cast<size_t>(-2)) {
                state.SkipWithError("not valid");
                break;
            }
            p += n ? n : 1;
        }
        benchmark::DoNotOptimize(p);
    }
    std::setlocale(LC_CTYPE, "C");
    setBytes(state, state.range(0));
}

// state.range(1): the code page tag, 0 (Windows) or 1 (Mac).
void BM_GSStringRoundTrip(benchmark::State& state)
{
    int const tag = static_cast<int>(state.range(1));
    GSString const& source = utf8(state.range(0));
    for (auto _ : state) {
        GSString s(source);
        if (s.convertEncoding(tag) || s.convertEncoding(100))
            state.SkipWithError("not representable");
        benchmark::DoNotOptimize(s.c_str());
    }
    setBytes(state, state.range(0));
}

void BM_GSStringToCodePage(benchmark::State& state)
{
    int const tag = static_cast<int>(state.range(1));
    GSString const& source = utf8(state.range(0));
    for (auto _ : state) {
        GSString s(source);
        if (s.convertEncoding(tag))
            state.SkipWithError("not representable");
        benchmark::DoNotOptimize(s.c_str());
    }
    setBytes(state, state.range(0));
}

void BM_GSStringFromCodePage(benchmark::State& state)
{
    int const tag = static_cast<int>(state.range(1));
    GSString const& source = inCodePage(state.range(0), tag);
    for (auto _ : state) {
        GSString s(source);
        if (s.convertEncoding(100))
            state.SkipWithError("failed");
        benchmark::DoNotOptimize(s.c_str());
    }
    setBytes(state, state.range(0));
}

char const* iconvName(long tag) { return tag ? "MACINTOSH" : "CP1252"; }

void BM_IconvRoundTrip(benchmark::State& state)
{
    std::string const& t = text(state.range(0));
    iconv_t to = iconv_open(iconvName(state.range(1)), "UTF-8");
    iconv_t from = iconv_open("UTF-8", iconvName(state.range(1)));
    std::unique_ptr<char[]> codePage;
    std::unique_ptr<char[]> back;
    for (auto _ : state) {
        long const n = convert(to, t.data(), t.size(), codePage, t.size());
        if (n < 0 || convert(from, codePage.get(), static_cast<size_t>(n), back, 3 * static_cast<size_t>(n)) < 0)
            state.SkipWithError("iconv failed");
        benchmark::DoNotOptimize(back.get());
    }
    iconv_close(to);
    iconv_close(from);
    setBytes(state, state.range(0));
}

void BM_IconvToCodePage(benchmark::State& state)
{
    std::string const& t = text(state.range(0));
    iconv_t to = iconv_open(iconvName(state.range(1)), "UTF-8");
    std::unique_ptr<char[]> codePage;
    for (auto _ : state)
        if (convert(to, t.data(), t.size(), codePage, t.size()) < 0)
            state.SkipWithError("iconv failed");
    iconv_close(to);
    setBytes(state, state.range(0));
}

void BM_IconvFromCodePage(benchmark::State& state)
{
    GSString const& source = inCodePage(state.range(0), static_cast<int>(state.range(1)));
    iconv_t from = iconv_open("UTF-8", iconvName(state.range(1)));
    std::unique_ptr<char[]> back;
    auto const n = static_cast<size_t>(source.getLength());
    for (auto _ : state)
        if (convert(from, source.c_str(), n, back, 3 * n) < 0)
            state.SkipWithError("iconv failed");
    iconv_close(from);
    setBytes(state, state.range(0));
}

// Arguments: {prose, code page}.
void codePages(benchmark::internal::Benchmark* b)
{
    for (long prose : {1, 0})
        for (long tag : {0, 1})
            b->Args({prose, tag});
    b->Unit(benchmark::kMillisecond);
}

void texts(benchmark::internal::Benchmark* b)
{
    b->Arg(1)->Arg(0)->Unit(benchmark::kMillisecond);
}

} // namespace

BENCHMARK(BM_GSStringIsValidUTF8)->Apply(texts);
BENCHMARK(BM_IconvValidateUTF8)->Apply(texts);
BENCHMARK(BM_MbrtowcValidateUTF8)->Apply(texts);
BENCHMARK(BM_GSStringRoundTrip)->Apply(codePages);
BENCHMARK(BM_IconvRoundTrip)->Apply(codePages);
BENCHMARK(BM_GSStringToCodePage)->Apply(codePages);
BENCHMARK(BM_IconvToCodePage)->Apply(codePages);
BENCHMARK(BM_GSStringFromCodePage)->Apply(codePages);
BENCHMARK(BM_IconvFromCodePage)->Apply(codePages);

BENCHMARK_MAIN();
