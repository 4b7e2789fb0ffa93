#include "platform/posix/LibraryCode.h"

#include <link.h>
#include <ucontext.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>

namespace platform::posix {
namespace {

struct Range {
    uintptr_t mBegin = 0;
    uintptr_t mEnd = 0;

    bool Contains(uintptr_t aAddress) const { return aAddress >= mBegin && aAddress < mEnd; }
};

std::array<Range, 64> sRanges;  // the first sCount; read in signal handlers, so without memory of its own
size_t sCount = 0;

// Adds the code of one loaded object, unless it is the object that this function belongs to: the program itself.
int AddObject(dl_phdr_info* aObject, size_t, void*) {
    const auto lOwn = reinterpret_cast<uintptr_t>(&AddObject);
    const size_t lCountBefore = sCount;
    for (size_t lIndex = 0; lIndex < aObject->dlpi_phnum && sCount < sRanges.size(); ++lIndex) {
        const auto& lSegment = aObject->dlpi_phdr[lIndex];
        if (lSegment.p_type != PT_LOAD || (lSegment.p_flags & PF_X) == 0)
            continue;
        const uintptr_t lBegin = aObject->dlpi_addr + lSegment.p_vaddr;
        sRanges[sCount++] = {lBegin, lBegin + lSegment.p_memsz};
        if (sRanges[sCount - 1].Contains(lOwn)) {
            sCount = lCountBefore;
            break;
        }
    }
    return 0;
}

uintptr_t InterruptedInstruction(const ucontext_t& aContext) {
#if defined(__x86_64__)
    return static_cast<uintptr_t>(aContext.uc_mcontext.gregs[REG_RIP]);
#elif defined(__i386__)
    return static_cast<uintptr_t>(aContext.uc_mcontext.gregs[REG_EIP]);
#elif defined(__aarch64__)
    return static_cast<uintptr_t>(aContext.uc_mcontext.pc);
#elif defined(__arm__)
    return static_cast<uintptr_t>(aContext.uc_mcontext.arm_pc);
#else
    return 0;
#endif
}

}  // namespace

void FindLibraryCode() {
    dl_iterate_phdr(AddObject, nullptr);
}

bool IsInLibraryCode(const void* aContext) {
    const uintptr_t lInstruction = InterruptedInstruction(*static_cast<const ucontext_t*>(aContext));
    return std::any_of(sRanges.begin(), sRanges.begin() + static_cast<std::ptrdiff_t>(sCount),
                       [lInstruction](const Range& aRange) { return aRange.Contains(lInstruction); });
}

}  // namespace platform::posix
