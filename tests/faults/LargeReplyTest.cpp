#include "ServerSteps.h"
#include "TransportTest.h"

#include <gmock/gmock.h>

#if defined(_WIN32)
#include <windows.h>
// Must follow windows.h, whose types it uses.
#include <psapi.h>
#else
#include <sys/resource.h>
#endif

using namespace std::string_literals;

namespace
{

/// 100,000 times the letter x, compressed by gzip.
const std::string& GzippedLetters()
{
    static const std::string BYTES =
        "\x1f\x8b\x08\0\0\0\0\0\x02\x03\xed\xc1\x31\x01\0\0\0\xc2\xa0\xda\x8b\x6f"
        "\x0d\x0f\xa0"s +
        std::string(96, '\0') + "\x80\x57\x03\x71\x11\x07\xfe\xa0\x86\x01\0"s;
    return BYTES;
}

constexpr std::size_t GIGABYTE = 1'000'000'000;

/// At least that many zeros, compressed as zlib does: 13 bits for each 258 of them.
std::string DeflatedZeros(std::size_t nZeros)
{
    std::string strBytes = "\x78\x01";
    unsigned nBits = 0;
    unsigned nWaiting = 0;
    const auto put = [&](unsigned nValue, unsigned nCount) {
        nWaiting |= nValue << nBits;
        for (nBits += nCount; nBits >= 8; nBits -= 8) {
            strBytes += static_cast<char>(nWaiting & 0xFFU);
            nWaiting >>= 8U;
        }
    };
    put(0b011, 3);      // the last block, with the fixed code
    put(0b00001100, 8); // a zero: 00110000, its most significant bit first
    for (std::size_t nDone = 0; nDone < nZeros; nDone += 258) {
        put(0b10100011, 8); // the longest repetition: 11000101
        put(0, 5);          // of the byte before
    }
    put(0, 7); // the end
    put(0, 7); // fills the last byte
    return strBytes;
}

/// The most memory that this process has used so far.
std::size_t PeakResidentBytes()
{
#if defined(_WIN32)
    PROCESS_MEMORY_COUNTERS counters{};
    ::GetProcessMemoryInfo(::GetCurrentProcess(), &counters, sizeof counters);
    return counters.PeakWorkingSetSize;
#else
    rusage usage{};
    ::getrusage(RUSAGE_SELF, &usage);
    return static_cast<std::size_t>(usage.ru_maxrss) * 1024;
#endif
}

} // namespace

TEST_F(TransportTest, ACompressedBombIsStoppedBeforeItFillsTheMemory)
{
    Start();
    const ScriptedServer server(
        Step(HttpReply(200, DeflatedZeros(GIGABYTE), "Content-Encoding: deflate\r\n")));
    const std::size_t nBefore = PeakResidentBytes();
    Get(server.Url("/"));
    RepliesAfterShutdown(1);
    EXPECT_THAT(m_replies.Errors(), testing::ElementsAre(-63));
    EXPECT_LT(PeakResidentBytes() - nBefore, GIGABYTE / 2);
}

TEST_F(TransportTest, ACompressedReplyIsUnpacked)
{
    Start();
    const ScriptedServer server(Step(HttpReply(200, GzippedLetters(), "Content-Encoding: gzip\r\n")));
    Get(server.Url("/"));
    for (const ReceivedReply& reply : RepliesAfterShutdown(1)) {
        EXPECT_EQ(reply.nHttpError, 0);
        EXPECT_EQ(reply.strBody, std::string(100'000, 'x'));
    }
}
