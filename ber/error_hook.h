// The hook through which errors of the codec are reported.
#pragma once

namespace qex {

// AsnErrorHandler receives every error text of the codec; the default one writes it to the
// standard error stream and ignores the severity. A host may replace it.
extern void (*AsnErrorHandler)(const char* text, int severity);

// AsnError passes `text` to the handler with severity 1.
void AsnError(const char* text);

}  // namespace qex
