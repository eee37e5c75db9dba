// AppendBench.cpp - W1: building a string by appending, from empty.
//
// Each run starts from an empty string, appends until the target size and
// destroys the string, so the growth policy, the copies it causes and the
// page faults of fresh memory are all inside the timing. The pieces are
// consecutive slices of a 1 MiB text, taken again from its start when a run
// needs more.
#include "Peers.h"

#include <cstdlib>
#include <cstring>

namespace vekbench {
namespace {

// AppendPieces appends kPiece-byte slices of source, cycling, until total.
template <class Builder, std::size_t kPiece>
std::uint64_t AppendPieces(const std::string& source, std::size_t total)
{
    Builder b;
    const char* p = source.data();
    const char* const end = p + source.size();
    for (std::size_t done = 0; done < total; done += kPiece) {
        b.Append(p, kPiece);
        p += kPiece;
        if (p == end)
            p = source.data();
    }
    return b.Digest();
}

template <class Builder> std::uint64_t AppendChars(const std::string& source)
{
    Builder b;
    for (char c : source)
        b.Push(c);
    return b.Digest();
}

// CopyInto is the bound of the appending rows: the same bytes written once
// into a block of the final size. The 1 MiB rows reuse one block; the 64 MiB
// row allocates it in the run, so its page faults count as the strings' do.
std::uint64_t CopyInto(char* block, const std::string& source, std::size_t total)
{
    for (std::size_t done = 0; done < total; done += source.size())
        std::memcpy(block + done, source.data(), source.size());
    return Mix(block, total);
}

template <std::size_t kPiece>
void AddPieceContenders(Row& row, const std::string& source, std::size_t total)
{
    row.Library("VekString",
                [&, total] { return AppendPieces<VekBuilder, kPiece>(source, total); });
    row.Peer("std::string", [&, total] { return AppendPieces<StdBuilder, kPiece>(source, total); });
#ifdef VEK_BENCH_HAVE_GLIB
    row.Peer("GString", [&, total] { return AppendPieces<GStringBuilder, kPiece>(source, total); });
#endif
#ifdef VEK_BENCH_HAVE_ABSL
    row.Peer("absl::StrAppend",
             [&, total] { return AppendPieces<AbslBuilder, kPiece>(source, total); });
#endif
}

void W1_Append16BytePieces(benchmark::State& state)
{
    const std::string& source = Text(kMiB);
    static std::string target(kMiB, '\0');
    Row row(state, "append 16-byte pieces to 1 MiB", kMiB);
    AddPieceContenders<16>(row, source, kMiB);
#ifdef VEK_BENCH_HAVE_LIBCXX
    row.Peer("std::string (libc++)",
             [&] { return LibcxxAppend16BytePieces(source.data(), source.size(), kMiB); });
#endif
    row.Bound("memcpy", [&] { return CopyInto(target.data(), source, kMiB); });
    row.Goal(Row::kFastestPeer, 0.9).Run();
}
VEK_BENCH_ROW(W1_Append16BytePieces);

void W1_AppendCharacters(benchmark::State& state)
{
    const std::string& source = Text(kMiB);
    static std::string target(kMiB, '\0');
    Row row(state, "append single characters to 1 MiB", kMiB);
    row.Library("VekString", [&] { return AppendChars<VekBuilder>(source); });
    row.Peer("std::string", [&] { return AppendChars<StdBuilder>(source); });
#ifdef VEK_BENCH_HAVE_LIBCXX
    row.Peer("std::string (libc++)",
             [&] { return LibcxxAppendCharacters(source.data(), source.size()); });
#endif
#ifdef VEK_BENCH_HAVE_GLIB
    row.Peer("GString", [&] { return AppendChars<GStringBuilder>(source); });
#endif
    row.Bound("memcpy", [&] { return CopyInto(target.data(), source, kMiB); });
    row.Goal(Row::kFastestPeer, 0.9).Run();
}
VEK_BENCH_ROW(W1_AppendCharacters);

// Mostly page faults: every doubling takes fresh memory. GString grows with
// realloc, which can move pages instead of copying them; the allocator
// contract has no such call, so the goal is set against std::string.
void W1_Append4KiBPiecesTo64MiB(benchmark::State& state)
{
    constexpr std::size_t kTotal = 64 * kMiB;
    const std::string& source = Text(kMiB);
    Row row(state, "append 4 KiB pieces to 64 MiB", kTotal);
    AddPieceContenders<4 * kKiB>(row, source, kTotal);
    row.Bound("malloc + memcpy", [&] {
        char* block = static_cast<char*>(std::malloc(kTotal));
        const std::uint64_t digest = CopyInto(block, source, kTotal);
        std::free(block);
        return digest;
    });
    row.CountFaults().Goal("std::string", 1.1).FaultGoal("std::string", 1.0).Run();
}
VEK_BENCH_ROW(W1_Append4KiBPiecesTo64MiB);

} // namespace
} // namespace vekbench
