// Package lib is the C interface of libqex as it is: one function here for each function there, octets in and octets or
// a record out. Names are those of C without QEX_ and underscores; qex.h says what each function does.
//
// A result code other than OK is an *Error, which errors.Is finds by its Code. Where a value did not fit into its field
// (ErrSize), the record comes with the error, as far as the library filled it.
//
// The library's verification is narrow: VerifyTSTSignature checks neither dates nor chain, revocation and key usage. To
// decide whether a token is to be believed, use Check of package qex. To make requests, take replies apart and read
// tokens, use this package; it starts no program.
//
// The library is loaded at the first call: the file that QEX_LIBRARY names, else libqex.so.1 by the system's loader. One
// that is missing or does not fit is a *LibraryError. All functions may be called by several goroutines at once.
package lib

import (
	"errors"
	"fmt"
	"math"
)

// Transport says how a message is framed for transport.
type Transport int32

// something is what input without octets points to: the library refuses a null pointer.
var something byte

func pointer(octets []byte) *byte {
	if len(octets) == 0 {
		return &something
	}
	return &octets[0]
}

// length is the length of input as the C interface takes it. A longer one would lose its upper bits.
func length(octets []byte) (uint32, error) {
	if uint64(len(octets)) > math.MaxUint32 {
		return 0, fmt.Errorf("qex: the library takes at most %d octets, not %d", uint32(math.MaxUint32), len(octets))
	}
	return uint32(len(octets)), nil
}

// output calls with a buffer that usually suffices; the library says how long another has to be.
func output(function string, room int, input []byte, call func(out *byte, outLength *uint32, inLength uint32) int32) ([]byte, error) {
	if err := load(); err != nil {
		return nil, err
	}
	inLength, err := length(input)
	if err != nil {
		return nil, err
	}
	for {
		out, outLength := make([]byte, room), uint32(room)
		code := call(pointer(out), &outLength, inLength)
		if Code(code) != ErrSize || outLength <= uint32(room) {
			if err := check(function, code); err != nil {
				return nil, err
			}
			return out[:outLength], nil
		}
		room = int(outLength)
	}
}

// fill reads a record from a message; sized is the size that the record begins with, or 0.
func fill[C any](function string, structure *C, sized uint32, data []byte, call func(*C, *byte, uint32) int32) error {
	if err := load(); err != nil {
		return err
	}
	size, err := length(data)
	if err != nil {
		return err
	}
	return otherSize(function, sized, check(function, call(structure, pointer(data), size)))
}

// otherSize recognises a record of another size: with pointers and lengths in order, ErrArg means nothing else.
func otherSize(function string, sized uint32, err error) error {
	if sized == 0 || !errors.Is(err, ErrArg) {
		return err
	}
	return &LibraryError{fmt.Sprintf("%s expects another size of its record than the %d octets of this package; "+
		"install library and package of one version", function, sized)}
}

func checkTransport(transport Transport) error {
	if transport < TransportRaw || transport > TransportReserved {
		return fmt.Errorf("qex: %d is no transport", transport)
	}
	return nil
}

// GetLastAsnError is QEX_GetLastAsnError: the code of the last decoding or encoding in this process, by whatever goroutine.
func GetLastAsnError() (int32, error) {
	if err := load(); err != nil {
		return 0, err
	}
	return callGetLastAsnError(), nil
}

// EncodeTSQEx is QEX_EncodeTSQ_Ex: the request, framed for a transport.
func EncodeTSQEx(request TsqDataEx, transport Transport) ([]byte, error) {
	c, err := request.structure()
	if err != nil {
		return nil, err
	}
	if err := checkTransport(transport); err != nil {
		return nil, err
	}
	out, err := output("QEX_EncodeTSQ_Ex", 1024, nil, func(out *byte, outLength *uint32, _ uint32) int32 {
		return callEncodeTSQEx(c, out, outLength, uint32(transport))
	})
	return out, otherSize("QEX_EncodeTSQ_Ex", c.size, err)
}

// EncodeTSQ is QEX_EncodeTSQ: the same from the short record.
func EncodeTSQ(request TsqData, transport Transport) ([]byte, error) {
	c, err := request.structure()
	if err != nil {
		return nil, err
	}
	if err := checkTransport(transport); err != nil {
		return nil, err
	}
	return output("QEX_EncodeTSQ", 1024, nil, func(out *byte, outLength *uint32, _ uint32) int32 {
		return callEncodeTSQ(c, out, outLength, int32(transport))
	})
}

// DecodeTSQEx is QEX_DecodeTSQ_Ex: reads a request, bare or framed.
func DecodeTSQEx(data []byte) (TsqDataEx, error) {
	c := newTsqDataEx()
	err := fill("QEX_DecodeTSQ_Ex", c, c.size, data, callDecodeTSQEx)
	return c.record(), err
}

// DecodeTSQ is QEX_DecodeTSQ: the same into the short record, which holds 40 octets of the hash.
func DecodeTSQ(data []byte) (TsqData, error) {
	c := newTsqData()
	err := fill("QEX_DecodeTSQ", c, 0, data, callDecodeTSQ)
	return c.record(), err
}

// UnpackTSR is QEX_UnpackTSR: the bare response of a framed reply, and its flag (socket) or HTTP status.
//
// An incomplete reply is ErrLength, whose Error.Announced is the length of the whole: read on and call again.
func UnpackTSR(reply []byte, transport Transport) (response []byte, status uint32, err error) {
	if err := load(); err != nil {
		return nil, 0, err
	}
	if err := checkTransport(transport); err != nil {
		return nil, 0, err
	}
	size, err := length(reply)
	if err != nil {
		return nil, 0, err
	}
	buffer := append([]byte(nil), reply...) // the library rewrites it in place
	code := callUnpackTSR(pointer(buffer), &size, &status, int32(transport))
	if err = check("QEX_UnpackTSR", code); err != nil {
		var failed *Error
		if errors.As(err, &failed) && failed.Code == ErrLength {
			failed.Announced = size
		} else if failed != nil && failed.Code == ErrFraming {
			failed.TransportStatus = status
		}
		return nil, status, err
	}
	return buffer[:size], status, nil
}

// GetTSRStatus is QEX_GetTSR_Status: status, text and failure of a bare response.
func GetTSRStatus(tsr []byte) (TsrStatus, error) {
	c := newTsrStatus()
	err := fill("QEX_GetTSR_Status", c, 0, tsr, callGetTSRStatus)
	return c.record(), err
}

// GetTSREncodedToken is QEX_GetTSR_EncodedToken: the token of a bare response that grants the request.
func GetTSREncodedToken(tsr []byte) ([]byte, error) {
	return output("QEX_GetTSR_EncodedToken", len(tsr), tsr, func(out *byte, outLength *uint32, inLength uint32) int32 {
		return callGetTSREncodedToken(out, outLength, pointer(tsr), inLength)
	})
}
