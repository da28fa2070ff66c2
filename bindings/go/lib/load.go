package lib

import (
	"os"
	"path/filepath"
	"sync"
)

// LibraryError says that libqex cannot be loaded, or is not the version that this package needs, and what to do.
type LibraryError struct{ text string }

func (e *LibraryError) Error() string { return e.text }

var (
	once    sync.Once
	failure error
)

// load loads the library at its first use: the file that QEX_LIBRARY names, else what the system's loader finds.
func load() error {
	once.Do(func() {
		name := soname
		if chosen := os.Getenv("QEX_LIBRARY"); chosen != "" {
			name = chosen
			if absolute, err := filepath.Abs(chosen); err == nil { // a name without a slash would be searched for
				name = absolute
			}
		}
		if complaint := open(name); complaint != "" {
			failure = &LibraryError{complaint}
		}
	})
	return failure
}
