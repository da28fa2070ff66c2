package lib

import (
	"bytes"
	"fmt"
)

// number is the value of a QEX_U64.
func (c cU64) number() uint64 { return uint64(c.high)<<32 | uint64(c.low) }

func u64(number uint64) cU64 { return cU64{high: uint32(number >> 32), low: uint32(number)} }

// text is a field up to its terminator.
func text(field []byte) string {
	if end := bytes.IndexByte(field, 0); end >= 0 {
		field = field[:end]
	}
	return string(field)
}

// octets copies what a field holds of a value of that length.
func octets(field []byte, length int64) []byte {
	if length < 0 {
		length = 0
	}
	if length > int64(len(field)) {
		length = int64(len(field))
	}
	return append([]byte(nil), field[:length]...)
}

// fields fills a structure and remembers the first value that does not fit.
type fields struct{ wrong error }

func (f *fields) text(name string, field []byte, value string) {
	if len(value) >= len(field) || bytes.IndexByte([]byte(value), 0) >= 0 {
		f.refuse("%s: at most %d octets, and no NUL, fit into this field", name, len(field)-1)
		return
	}
	copy(field, value)
}

func (f *fields) octets(name string, field, value []byte) uint32 {
	if len(value) > len(field) {
		f.refuse("%s: at most %d octets fit into this field, not %d", name, len(field), len(value))
		return 0
	}
	return uint32(copy(field, value))
}

func (f *fields) refuse(format string, values ...any) {
	if f.wrong == nil {
		f.wrong = fmt.Errorf("qex: "+format, values...)
	}
}
