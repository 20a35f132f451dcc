// Writes beyond the end of a buffer, in the way that its argument names, and reports it if it survives. A
// protection ends it recognisably: with an abort on Linux, with status 3 on Windows.
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#ifdef _WIN32
#include <windows.h>
#endif

namespace
{

#ifdef _WIN32
LONG WINAPI end(EXCEPTION_POINTERS* exception)
{
    std::_Exit(exception->ExceptionRecord->ExceptionCode == EXCEPTION_ILLEGAL_INSTRUCTION ? 3 : 4);
}
#endif

[[gnu::noinline]] void Fill(volatile char* to, std::size_t count)
{
    for (std::size_t i = 0; i < count; ++i) {
        to[i] = 'x';
    }
}

[[gnu::noinline]] char OverflowStack(std::size_t count)
{
    volatile char buffer[16] = {};
    Fill(buffer, count);
    return buffer[3];
}

[[gnu::noinline]] char OverflowArray(const std::string& text)
{
    char buffer[16] = {};
    // NOLINTNEXTLINE(bugprone-not-null-terminated-result): bytes, no string
    std::memcpy(buffer, text.data(), text.size());
    return buffer[3];
}

/// Ends the process itself, since the allocator might detect the damage later.
[[noreturn, gnu::noinline]] void OverflowHeap(const std::string& text, std::size_t size)
{
    volatile char* const kept = static_cast<char*>(std::malloc(size));
    if (kept == nullptr) {
        std::_Exit(1);
    }
    // NOLINTNEXTLINE(bugprone-not-null-terminated-result): bytes, no string
    std::memcpy(const_cast<char*>(kept), text.data(), text.size());
    std::_Exit(kept[3] == 'x' ? 0 : 1);
}

/// Its frame is larger than the page that guards the end of a stack.
[[gnu::noinline]] char LargeFrame(std::size_t count)
{
    volatile char buffer[65536];
    Fill(buffer, count);
    return buffer[3]; // NOLINT(clang-analyzer-core.uninitialized.UndefReturn): called with more than three
}

} // namespace

int main(int argc, char** argv)
{
#ifdef _WIN32
    SetUnhandledExceptionFilter(end);
#endif
    const std::string way = argc > 1 ? argv[1] : "";
    const std::size_t count = argc > 2 ? std::strtoul(argv[2], nullptr, 10) : 0;
    const std::string text(count, 'x');
    char third = 'x';
    if (way == "stack") {
        third = OverflowStack(count);
    } else if (way == "array") {
        third = OverflowArray(text);
    } else if (way == "heap") {
        volatile std::size_t size = 16; // unknown to the compiler
        OverflowHeap(text, size);
    } else if (way == "large-frame") {
        third = LargeFrame(count);
    } else {
        return 2;
    }
    std::printf("lived on: %c\n", third);
    return 0;
}
