package lib

import (
	"errors"
	"hash"
	"runtime"
)

var _ hash.Hash = (*Digest)(nil)

// algorithm is one of the library's digests.
type algorithm struct {
	size, block int
	begin       func() context
	update      func(context, *byte, uint32)
	final       func(context, *byte)
}

// Digest is a hash.Hash over one of the library's digests, with one difference: the library cannot copy a context, so Sum
// ends the digest. Sum gives the same again and again, but Write is an error until Reset. One goroutine at a time may use it.
type Digest struct {
	algorithm *algorithm
	context   *context // nil after Sum
	sum       []byte
}

var (
	md5Algorithm    = algorithm{16, 64, callMD5Init, callMD5Update, callMD5Final}
	sha1Algorithm   = algorithm{20, 64, callSHA1Init, callSHA1Update, callSHA1Final}
	sha256Algorithm = algorithm{32, 64, callSHA256Init, callSHA256Update, callSHA256Final}
	sha384Algorithm = algorithm{48, 128, callSHA384Init, callSHA384Update, callSHA384Final}
	sha512Algorithm = algorithm{64, 128, callSHA512Init, callSHA512Update, callSHA512Final}
)

// NewMD5 begins an MD5. Collisions are known; use it only to check old stamps.
func NewMD5() (*Digest, error) { return begin(&md5Algorithm) }

// NewSHA1 begins a SHA-1. Collisions are known; use it only to check old stamps.
func NewSHA1() (*Digest, error) { return begin(&sha1Algorithm) }

// NewSHA256 begins a SHA-256.
func NewSHA256() (*Digest, error) { return begin(&sha256Algorithm) }

// NewSHA384 begins a SHA-384.
func NewSHA384() (*Digest, error) { return begin(&sha384Algorithm) }

// NewSHA512 begins a SHA-512.
func NewSHA512() (*Digest, error) { return begin(&sha512Algorithm) }

func begin(algorithm *algorithm) (*Digest, error) {
	if err := load(); err != nil {
		return nil, err
	}
	d := &Digest{algorithm: algorithm}
	d.Reset()
	// Only Final releases a context, also one that nobody asked for its digest.
	runtime.SetFinalizer(d, (*Digest).finish)
	return d, nil
}

// Write appends data. It fails only after Sum.
func (d *Digest) Write(data []byte) (int, error) {
	if d.context == nil {
		return 0, errors.New("qex: the digest has been taken; Reset begins another")
	}
	for rest := data; len(rest) > 0; {
		piece := rest
		if len(piece) > 1<<30 { // a length has 32 bits
			piece = piece[:1<<30]
		}
		d.algorithm.update(*d.context, &piece[0], uint32(len(piece)))
		rest = rest[len(piece):]
	}
	runtime.KeepAlive(d)
	return len(data), nil
}

// Sum appends the digest of all data to b.
func (d *Digest) Sum(b []byte) []byte {
	d.finish()
	return append(b, d.sum...)
}

// Reset begins again.
func (d *Digest) Reset() {
	d.finish()
	started := d.algorithm.begin()
	d.context, d.sum = &started, nil
}

// Size is the length of the digest.
func (d *Digest) Size() int { return d.algorithm.size }

// BlockSize is the length of the blocks that the algorithm works on.
func (d *Digest) BlockSize() int { return d.algorithm.block }

// finish takes the digest, which releases the context.
func (d *Digest) finish() {
	if d.context == nil {
		return
	}
	d.sum = make([]byte, d.algorithm.size)
	d.algorithm.final(*d.context, &d.sum[0])
	d.context = nil
	runtime.KeepAlive(d)
}
