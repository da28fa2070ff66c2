package lib

import "fmt"

// Code is a result code of the C interface. Each but OK is an error: errors.Is(err, lib.ErrRejected).
type Code int32

// Error is the library's text for the code.
func (c Code) Error() string {
	if row, known := codes[c]; known {
		return row.text
	}
	return fmt.Sprintf("unknown result code %d", int32(c))
}

// Name is the code's name in C.
func (c Code) Name() string { return codes[c].name }

// Error is the failure of a call. With errors.Is it equals its Code.
type Error struct {
	Code     Code
	Function string // in C
	AsnError int32  // the last ASN.1 error of the process; with other threads in the library it may be theirs

	Announced       uint32 // ErrLength of UnpackTSR: the length of the whole reply
	TransportStatus uint32 // ErrFraming of UnpackTSR: flag or HTTP status
}

func (e *Error) Error() string {
	last := ""
	if e.AsnError != 0 {
		last = fmt.Sprintf(", ASN.1 error %d", e.AsnError)
	}
	return fmt.Sprintf("%s: %s (%s, code %d%s)", e.Function, e.Code.Error(), e.Code.Name(), int32(e.Code), last)
}

// Unwrap gives errors.Is the code.
func (e *Error) Unwrap() error { return e.Code }

// check turns the result of a function into an error.
func check(function string, code int32) error {
	if Code(code) == OK {
		return nil
	}
	if _, known := codes[Code(code)]; !known {
		return &LibraryError{fmt.Sprintf("%s returned %d, which this package does not know; install its newer version",
			function, code)}
	}
	return &Error{Code: Code(code), Function: function, AsnError: callGetLastAsnError()}
}
