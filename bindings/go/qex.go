// Package qex checks time-stamps by RFC 3161: Check gives the whole answer about a token, with both readers, chain, dates,
// key usage, revocation, imprint, nonce and policy, by one program `qex verify --jobs -` that is kept open.
//
//	answer, err := qex.Check(qex.Trust{CaFile: []string{"roots.pem"}}, qex.Job{TokenFile: "report.pdf.tsr", File: "report.pdf"})
//	if err == nil && answer.Passed() {
//		fmt.Println("stamped at", answer.Time)
//	}
//
// Take it to decide whether to believe a token: the library's own verification is narrow, and foreign octets stay out of
// this process. To make requests, take replies apart and read tokens, take package lib, the C interface of libqex. This
// package needs neither cgo nor the library.
//
// The program is the file that QEX_TOOL names, else the qex of PATH.
package qex

import (
	"os"
	"os/exec"
	"path/filepath"
	"strconv"
	"strings"
	"sync"
)

const ahead = 1024 // jobs that CheckMany hands out before it waits for the oldest answer

// Checker checks tokens by one Trust with one program, which starts at the first check and ends with Close. Any
// goroutines may use it at once. A program that is killed is started again and loses nothing.
type Checker struct{ program *program }

// NewChecker makes a Checker that runs that many jobs at once; one a core for 0.
func NewChecker(trust Trust, jobs int) (*Checker, error) {
	options, err := trust.options()
	if err != nil {
		return nil, err
	}
	tool, err := tool()
	if err != nil {
		return nil, err
	}
	command := []string{tool, "verify", "--jobs", "-"}
	if jobs != 0 { // the program refuses what is no number of jobs
		command = append(command, "-j", strconv.Itoa(jobs))
	}
	return &Checker{newProgram(append(command, options...))}, nil
}

// tool is the program: the file of QEX_TOOL, else the qex of PATH.
func tool() (string, error) {
	if chosen := os.Getenv("QEX_TOOL"); chosen != "" {
		return filepath.Abs(chosen)
	}
	found, err := exec.LookPath("qex")
	if err != nil {
		return "", &ToolError{"no program qex is in PATH; install the package qex, or name the program in the environment " +
			"variable QEX_TOOL"}
	}
	return filepath.Abs(found)
}

// Check is the answer about one token. An error is a *ToolError: the program is missing, or refuses the Trust. Everything
// about the token is in the answer.
func (c *Checker) Check(job Job) (Answer, error) {
	submitted, err := c.program.submit(job)
	if err != nil {
		return Answer{}, err
	}
	result := <-submitted
	return result.answer, result.err
}

// CheckMany calls `each` with the answers in the order of the jobs, which `next` gives until it returns false. It uses all
// cores and takes at most 1024 jobs ahead of the answers. It ends with the first error of `each` or of the program.
func (c *Checker) CheckMany(next func() (Job, bool), each func(Answer) error) error {
	var submitted []<-chan outcome
	yield := func() error {
		result := <-submitted[0]
		submitted = submitted[1:]
		if result.err != nil {
			return result.err
		}
		return each(result.answer)
	}
	for job, more := next(); more; job, more = next() {
		one, err := c.program.submit(job)
		if err != nil {
			return err
		}
		submitted = append(submitted, one)
		for len(submitted) > 0 && (len(submitted) >= ahead || len(submitted[0]) > 0) {
			if err := yield(); err != nil {
				return err
			}
		}
	}
	for len(submitted) > 0 {
		if err := yield(); err != nil {
			return err
		}
	}
	return nil
}

// Close waits for the answers that are still to come, and ends the program.
func (c *Checker) Close() { c.program.close() }

var (
	checkersMutex sync.Mutex
	checkers      = map[string]*Checker{}
)

// Check is Checker.Check by a Checker that is kept for this Trust until the process ends.
func Check(trust Trust, job Job) (Answer, error) {
	c, err := checkerOf(trust)
	if err != nil {
		return Answer{}, err
	}
	return c.Check(job)
}

// CheckMany is Checker.CheckMany by a Checker that is kept for this Trust until the process ends.
func CheckMany(trust Trust, next func() (Job, bool), each func(Answer) error) error {
	c, err := checkerOf(trust)
	if err != nil {
		return err
	}
	return c.CheckMany(next, each)
}

func checkerOf(trust Trust) (*Checker, error) {
	options, err := trust.options()
	if err != nil {
		return nil, err
	}
	checkersMutex.Lock()
	defer checkersMutex.Unlock()
	key := strings.Join(options, "\x00")
	if checkers[key] == nil {
		c, err := NewChecker(trust, 0)
		if err != nil {
			return nil, err
		}
		checkers[key] = c
	}
	return checkers[key], nil
}
