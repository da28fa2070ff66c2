package lib

import (
	"os"
	"os/exec"
	"path/filepath"
	"strings"
	"testing"
)

// Not a test: what the tests below run in a process of its own, whose library is another.
func TestHelperLoads(t *testing.T) {
	if os.Getenv("QEX_TEST_HELPER") == "" {
		t.Skip("called by others")
	}
	_, err := NewSHA256()
	if again := load(); err != nil && again != err {
		t.Error("the second call says something else")
	}
	os.Stdout.WriteString("HELPER " + text([]byte(errorText(err))) + "\n")
}

func errorText(err error) string {
	if _, is := err.(*LibraryError); is {
		return err.Error()
	}
	return "no LibraryError"
}

// complaint is what the package says about a library.
func complaint(t *testing.T, library string) string {
	t.Helper()
	helper := exec.Command(os.Args[0], "-test.run=^TestHelperLoads$", "-test.v")
	helper.Env = append(os.Environ(), "QEX_TEST_HELPER=1", "QEX_LIBRARY="+library)
	out, err := helper.CombinedOutput()
	if err != nil {
		t.Fatalf("%v: %s", err, out)
	}
	_, said, _ := strings.Cut(string(out), "HELPER ")
	line, _, _ := strings.Cut(said, "\n")
	return line
}

// build makes a library of C source that is not the one expected.
func build(t *testing.T, source string, options ...string) string {
	t.Helper()
	compiler := os.Getenv("CC")
	if compiler == "" {
		compiler = "cc"
	}
	folder := t.TempDir()
	if err := os.WriteFile(filepath.Join(folder, "other.c"), []byte(source), 0o600); err != nil {
		t.Fatal(err)
	}
	library := filepath.Join(folder, "libother.so")
	command := exec.Command(compiler, append([]string{"-shared", "-fPIC", "-o", library, filepath.Join(folder, "other.c")}, options...)...)
	if out, err := command.CombinedOutput(); err != nil {
		t.Fatalf("%v: %s", err, out)
	}
	return library
}

func TestLibrariesThatDoNotFitAreNamedWithTheNextStep(t *testing.T) {
	own := "-Wl,-soname," + soname
	script := filepath.Join(t.TempDir(), "map")
	if err := os.WriteFile(script, []byte("QEX_0.9 { global: QEX_*; local: *; };\n"), 0o600); err != nil {
		t.Fatal(err)
	}
	var all strings.Builder
	for function := range functionNames(t) {
		all.WriteString("void " + function + "(void) {}\n")
	}
	for _, row := range []struct{ library, says string }{
		{"/absent/libqex.so.1", "cannot be loaded"},
		{build(t, "int other;"), "is not " + soname},
		{build(t, "void QEX_MD5_Init(void) {}", own), "lacks QEX_MD5_Update: it is older"},
		{build(t, all.String(), own, "-Wl,--version-script="+script), "in another version than"},
	} {
		said := complaint(t, row.library)
		if !strings.Contains(said, row.says) || !strings.Contains(said, "install the package libqex1") ||
			!strings.Contains(said, "QEX_LIBRARY") {
			t.Errorf("%s: %q", row.says, said)
		}
	}
}

// functionNames are the functions that the package needs, as its source has them.
func functionNames(t *testing.T) map[string]bool {
	t.Helper()
	source, err := os.ReadFile("interface.go")
	if err != nil {
		t.Fatal(err)
	}
	names := map[string]bool{}
	for _, line := range strings.Split(string(source), "\n") {
		if name, rest, found := strings.Cut(strings.TrimPrefix(strings.TrimSpace(line), `{"`), `", &table.`); found && strings.HasPrefix(rest, name) {
			names[name] = true
		}
	}
	if len(names) != 36 {
		t.Fatalf("%d functions", len(names))
	}
	return names
}

func TestRecordOfAnotherSizeIsTheLibrarys(t *testing.T) {
	c := newTsqDataEx()
	c.size++
	err := fill("QEX_DecodeTSQ_Ex", c, c.size, unhex(t, request), callDecodeTSQEx)
	if _, is := err.(*LibraryError); !is || !strings.Contains(err.Error(), "another size") {
		t.Errorf("%v", err)
	}
}
