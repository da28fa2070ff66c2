// Memory of decoded values, and the hook through which codec errors are reported.
#pragma once

#include <cstddef>

namespace qex {

// AsnAlloc returns `bytes` zeroed bytes from the heap, null when that fails. A request of 0
// bytes yields a pointer of its own, so that an empty value differs from an absent one.
[[nodiscard]] void* AsnAlloc(size_t bytes);
void AsnFree(void* p);

// AsnErrorHandler receives every error text of the codec; the default one writes it to the
// standard error stream and ignores the severity. A host may replace it.
extern void (*AsnErrorHandler)(const char* text, int severity);

// AsnError passes `text` to the handler with severity 1.
void AsnError(const char* text);

}  // namespace qex
