// error: this row of kRegistrations is not at its place
#include "asn1/oids.h"

// The row of the DSA key then says that it is the one before, as after a swap of the two.
#define kAnyDsa kAnyEmailAddress
#include "asn1/oids.cpp"
