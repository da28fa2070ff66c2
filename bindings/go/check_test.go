package qex

import (
	"encoding/base64"
	"encoding/json"
	"encoding/pem"
	"errors"
	"fmt"
	"os"
	"path/filepath"
	"strings"
	"syscall"
	"testing"
	"time"
)

const stamped = "the data to be stamped\n" // of tests/data/make_samples.sh

func sample(name string) string { return filepath.Join("../../tests/data/samples", name) }

func octets(t *testing.T, name string) []byte {
	t.Helper()
	octets, err := os.ReadFile(sample(name))
	if err != nil {
		t.Fatal(err)
	}
	return octets
}

func write(t *testing.T, content string, mode os.FileMode) string {
	t.Helper()
	name := filepath.Join(t.TempDir(), "file")
	if err := os.WriteFile(name, []byte(content), mode); err != nil {
		t.Fatal(err)
	}
	return name
}

func roots(t *testing.T) Trust {
	t.Helper()
	return Trust{CaFile: []string{sample("certificate_root.der")}}
}

func checker(t *testing.T, trust Trust) *Checker {
	t.Helper()
	if os.Getenv("QEX_TOOL") == "" {
		t.Skip("QEX_TOOL names no program")
	}
	c, err := NewChecker(trust, 2)
	if err != nil {
		t.Fatal(err)
	}
	t.Cleanup(c.Close)
	return c
}

func TestTokenOfATrustedAuthorityPasses(t *testing.T) {
	data, reply := write(t, stamped, 0o600), octets(t, "reply_sha256_v2_cert.der")
	inPem := pem.EncodeToMemory(&pem.Block{Type: "TIMESTAMP", Bytes: octets(t, "token_sha256_v2_cert.der")})
	for _, trust := range []Trust{roots(t), {TsaCert: []string{sample("certificate_tsa.der")}}} {
		c := checker(t, trust)
		for _, job := range []Job{
			{Token: reply, File: data, RequestFile: sample("request_sha256_cert.der")},
			{TokenFile: sample("reply_sha256_v2_cert.der"), File: data, Request: octets(t, "request_sha256_cert.der")},
			{Token: inPem, File: data, Policy: "1.3.6.1.4.1.32473.1"},
			{Token: reply, Digest: "sha256:36c75d56467d5c5f21d80c7320587fc5dc235c331e1003cf168c93abb2c7cb97", Nonce: "B856CEB5E653AF1F"},
		} {
			answer, err := c.Check(job)
			if err != nil || !answer.Passed() || answer.Exit != 0 || answer.Indication != "PASSED" || !answer.AuthorityChecked ||
				len(answer.Failures()) != 0 || len(answer.Checks) < 10 || answer.Error != "" {
				t.Errorf("%v: %s", err, answer.Document)
			}
			// As `openssl ts -reply -text` prints it: Nov 20 11:51:26.977 2026 GMT.
			if !answer.Time.Equal(time.Date(2026, 11, 20, 11, 51, 26, 977e6, time.UTC)) {
				t.Errorf("%v", answer.Time)
			}
		}
	}
}

func TestFailuresAreToldApart(t *testing.T) {
	reply := octets(t, "reply_sha256_v2_cert.der")
	other := write(t, "other data\n", 0o600)
	damaged := append([]byte(nil), reply...)
	damaged[len(damaged)-1] ^= 1
	for _, row := range []struct {
		job           Job
		exit          int
		failure       string
		subIndication string
	}{
		{Job{Token: reply, File: other}, 1, "imprint", "HASH_FAILURE"},
		{Job{Token: damaged, File: write(t, stamped, 0o600)}, 1, "signature", "SIG_CRYPTO_FAILURE"},
		{Job{Token: reply, Nonce: "01"}, 1, "nonce", "SIG_CONSTRAINTS_FAILURE"},
		{Job{Token: octets(t, "reply_rejected.der")}, 5, "", ""},
		{Job{Token: octets(t, "certificate_tsa.der")}, 4, "", ""},
		{Job{TokenFile: "absent"}, 3, "", ""},
		{Job{}, 2, "", ""},
		// What is refused here, because the program could take it for something else.
		{Job{Token: []byte{}}, 4, "", ""},
		{Job{Token: []byte("/etc/passwd")}, 4, "", ""},
		{Job{Token: reply, TokenFile: "reply"}, 2, "", ""},
		{Job{TokenFile: "\xff"}, 3, "", ""},
		{Job{Token: make([]byte, mostOctets+1)}, 4, "", ""},
	} {
		answer, err := checker(t, roots(t)).Check(row.job)
		if err != nil || answer.Passed() || answer.Exit != row.exit || answer.Error == "" || answer.SubIndication != row.subIndication {
			t.Errorf("exit %d expected: %v, %s", row.exit, err, answer.Document)
		}
		if failures := answer.Failures(); row.failure != "" && (len(failures) == 0 || failures[0].Name != row.failure) {
			t.Errorf("%s expected: %v", row.failure, failures)
		}
		if !json.Valid(answer.Document) {
			t.Errorf("%s", answer.Document)
		}
	}
	other = sample("certificate_tsa.der") // signs nothing
	answer, err := checker(t, Trust{CaFile: []string{other}}).Check(Job{Token: reply})
	if err != nil || answer.Passed() || answer.SubIndication != "NO_CERTIFICATE_CHAIN_FOUND" {
		t.Errorf("%v, %s", err, answer.Document)
	}
}

func TestNothingPassesWithoutAnAnswer(t *testing.T) {
	if (Answer{}).Passed() {
		t.Error("an empty Answer passes")
	}
	for _, line := range []string{`{"id":1,"schema":1}`, `{"schema":1,"exit":0}`, `{"id":1,"schema":2,"exit":0}`, `{"id":1,"schema":1,"exit":null}`, `x`} {
		if answer, _, err := answerFrom([]byte(line)); err == nil || answer.Passed() {
			t.Errorf("%s is taken", line)
		}
	}
}

func TestNobodyIsTrustedByDefault(t *testing.T) {
	if _, err := NewChecker(Trust{AllowWeak: true}, 0); err == nil || !strings.Contains(err.Error(), "nobody is trusted") {
		t.Errorf("%v", err)
	}
	if _, err := Check(Trust{}, Job{}); err == nil {
		t.Error("an empty Trust is taken")
	}
	if _, err := NewChecker(Trust{CaFile: []string{"roots\x00.pem"}}, 0); err == nil || !strings.Contains(err.Error(), "--ca-file holds a NUL") {
		t.Errorf("%v", err)
	}
}

func TestNumberOfJobsIsNotGuessed(t *testing.T) {
	c, err := NewChecker(roots(t), -1)
	if err != nil {
		t.Fatal(err)
	}
	defer c.Close()
	if _, err := c.Check(Job{Digest: "x"}); err == nil || !strings.Contains(err.Error(), "not in range") {
		t.Errorf("%v", err)
	}
}

// many gives jobs of which every hundredth is for other data.
func many(t *testing.T, count int) func() (Job, bool) {
	reply := octets(t, "reply_sha256_v2_cert.der")
	n := -1
	return func() (Job, bool) {
		digest := "sha256:36c75d56467d5c5f21d80c7320587fc5dc235c331e1003cf168c93abb2c7cb97"
		if n++; n%100 == 7 {
			digest = "sha256:" + strings.Repeat("00", 32)
		}
		return Job{Token: reply, Digest: digest}, n < count
	}
}

func TestKilledProgramLosesNothing(t *testing.T) {
	c := checker(t, roots(t))
	n, killed := 0, 0
	err := c.CheckMany(many(t, 2000), func(answer Answer) error {
		if answer.Passed() != (n%100 != 7) {
			t.Errorf("job %d: %s", n, answer.Document)
		}
		if n++; n == 100 || n == 900 {
			c.program.mutex.Lock()
			defer c.program.mutex.Unlock()
			if c.program.run != nil && c.program.run.process.Process.Signal(syscall.SIGKILL) == nil {
				killed++
			}
		}
		return nil
	})
	if err != nil || n != 2000 || killed != 2 {
		t.Errorf("%d answers, %d kills, %v", n, killed, err)
	}
}

func TestFirstErrorEndsMany(t *testing.T) {
	stop := errors.New("stop")
	n := 0
	err := checker(t, roots(t)).CheckMany(many(t, 100), func(Answer) error { n++; return stop })
	if err != stop || n != 1 {
		t.Errorf("%d, %v", n, err)
	}
}

func TestClosedCheckerSaysSo(t *testing.T) {
	c := checker(t, roots(t))
	c.Close()
	var refused *ToolError
	if _, err := c.Check(Job{}); !errors.As(err, &refused) || !strings.Contains(err.Error(), "closed") {
		t.Errorf("%v", err)
	}
}

func TestProgramsThatDoNotDoTheirWorkAreNamed(t *testing.T) {
	defer func(before int) { longest = before }(longest)
	longest = 1 << 20
	token := base64.StdEncoding.EncodeToString([]byte("x"))
	for _, row := range []struct{ script, says string }{
		{"", "QEX_TOOL"}, // no such program
		{"echo 'qex: error: no' >&2; exit 2", "exit status 2: qex: error: no"},
		{"read job; echo nonsense", "no document"},
		{`read job; echo '{"id":99,"schema":1,"exit":0}'; read job`, "job 99"},
		{`read job; echo '{"id":1,"schema":7,"exit":0}'; read job`, "schema"},
		{`read job; while :; do printf %65536s; done`, "too long for a document"},
	} {
		tool := "/absent/qex"
		if row.script != "" {
			tool = write(t, "#!/bin/sh\n"+row.script+"\n", 0o700)
		}
		t.Setenv("QEX_TOOL", tool)
		var refused *ToolError
		answer, err := checker(t, roots(t)).Check(Job{Digest: token})
		if !errors.As(err, &refused) || !strings.Contains(err.Error(), row.says) || answer.Passed() {
			t.Errorf("%s: %v", row.says, err)
		}
	}
	t.Setenv("QEX_TOOL", "")
	t.Setenv("PATH", t.TempDir())
	if _, err := NewChecker(roots(t), 0); err == nil || !strings.Contains(err.Error(), "no program qex is in PATH") {
		t.Errorf("%v", err)
	}
}

func TestNextCheckTriesAgain(t *testing.T) {
	c := checker(t, roots(t))
	t.Setenv("TMPDIR", "/absent")
	if _, err := c.Check(Job{Digest: "x"}); err == nil || !strings.Contains(err.Error(), "the next check tries again") {
		t.Errorf("%v", err)
	}
	t.Setenv("TMPDIR", "")
	if answer, err := c.Check(Job{Token: octets(t, "reply_sha256_v2_cert.der")}); err != nil || !answer.Passed() {
		t.Errorf("%v, %s", err, answer.Document)
	}
}

func TestJobAtWhichTheProgramDiesIsAnsweredAndTheNextOneToo(t *testing.T) {
	// It dies at the digest "dies" and answers everything else.
	script := `while read -r job; do
  case $job in *dies*) kill -9 $$;; esac
  id=${job#*\"id\":}; echo "{\"id\":${id%%[,\}]*},\"schema\":1,\"exit\":0,\"error\":null}"
done`
	t.Setenv("QEX_TOOL", write(t, "#!/bin/sh\n"+script+"\n", 0o700))
	jobs := []Job{{Digest: "a"}, {Digest: "dies"}, {Digest: "b"}}
	var exits []int
	err := checker(t, roots(t)).CheckMany(func() (Job, bool) {
		if len(jobs) == 0 {
			return Job{}, false
		}
		job := jobs[0]
		jobs = jobs[1:]
		return job, true
	}, func(answer Answer) error {
		exits = append(exits, answer.Exit)
		return nil
	})
	if err != nil || fmt.Sprint(exits) != "[0 70 0]" {
		t.Errorf("%v, %v", exits, err)
	}
}
