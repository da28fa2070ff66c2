package qex

import (
	"bufio"
	"errors"
	"fmt"
	"io"
	"os"
	"os/exec"
	"strings"
	"sync"
	"syscall"
)

// A job at which the program ends that often fails: it may be the cause.
const tries = 3

// The octets of a document; those of qex are far shorter, whatever the token.
var longest = 256 << 20

// ToolError says that the program qex cannot be started or does not do its work, and what to do.
type ToolError struct{ text string }

func (e *ToolError) Error() string { return e.text }

type outcome struct {
	answer Answer
	err    error
}

// waiting is a job that has no answer yet.
type waiting struct {
	number  uint64
	line    []byte
	ends    int
	outcome chan outcome // takes one without waiting
}

// run is one run of the program, from its start to its end.
type run struct {
	process  *exec.Cmd
	input    io.WriteCloser
	output   *bufio.Reader
	said     *os.File // its standard error
	toSend   [][]byte
	answered int
	finished bool
}

// program is kept open: a job a line in, a document a line out, in the same order. Two goroutines serve each run; the
// writer sends lines, the reader matches documents with what waits for them. When the program ends with work left,
// another one is started and gets all of it again, so nothing is lost.
type program struct {
	command []string
	mutex   sync.Mutex // of all that follows
	changed *sync.Cond
	waiting []*waiting // the oldest first
	number  uint64
	run     *run
	closing bool
}

func newProgram(command []string) *program {
	p := &program{command: command}
	p.changed = sync.NewCond(&p.mutex)
	return p
}

// submit hands a job to the program, which it starts when none runs. The channel gets the answer.
func (p *program) submit(job Job) (<-chan outcome, error) {
	p.mutex.Lock()
	defer p.mutex.Unlock()
	if p.closing {
		return nil, &ToolError{"this Checker is closed; make another"}
	}
	p.number++
	one := &waiting{number: p.number, outcome: make(chan outcome, 1)}
	line, refused := job.line(one.number)
	if refused != nil {
		one.outcome <- outcome{answer: *refused}
		return one.outcome, nil
	}
	one.line = line
	if p.run == nil {
		if err := p.start(); err != nil {
			return nil, err
		}
	}
	p.waiting = append(p.waiting, one)
	p.run.toSend = append(p.run.toSend, line)
	p.changed.Broadcast()
	return one.outcome, nil
}

// close waits for the answers that are still to come, and lets the program end.
func (p *program) close() {
	p.mutex.Lock()
	defer p.mutex.Unlock()
	p.closing = true
	p.changed.Broadcast()
	for p.run != nil {
		p.changed.Wait()
	}
}

// start begins a run with all that waits.
func (p *program) start() error {
	r := &run{process: exec.Command(p.command[0], p.command[1:]...)}
	// A process group of its own: Ctrl-C at the terminal is for the caller to act on.
	r.process.SysProcAttr = &syscall.SysProcAttr{Setpgid: true}
	if err := r.begin(); err != nil {
		step := "this process lacks what that takes; the next check tries again"
		if at := (*os.PathError)(nil); errors.As(err, &at) && at.Path == p.command[0] {
			step = "install the package qex, or name the program in the environment variable QEX_TOOL"
		}
		return &ToolError{fmt.Sprintf("%s cannot be started: %v; %s", p.command[0], err, step)}
	}
	for _, one := range p.waiting {
		r.toSend = append(r.toSend, one.line)
	}
	p.run = r
	go p.write(r)
	go p.read(r)
	return nil
}

// begin starts the process with its pipes.
func (r *run) begin() (err error) {
	if r.said, err = os.CreateTemp("", "qex"); err != nil {
		return err
	}
	defer func() {
		if err != nil {
			r.said.Close()
		}
	}()
	os.Remove(r.said.Name()) // it stays open
	r.process.Stderr = r.said
	if r.input, err = r.process.StdinPipe(); err != nil {
		return err
	}
	output, err := r.process.StdoutPipe()
	if err != nil {
		return err
	}
	r.output = bufio.NewReader(output)
	return r.process.Start()
}

func (p *program) write(r *run) {
	defer r.input.Close()
	for {
		p.mutex.Lock()
		for len(r.toSend) == 0 && !p.closing && !r.finished {
			p.changed.Wait()
		}
		if r.finished || len(r.toSend) == 0 {
			p.mutex.Unlock()
			return
		}
		line := r.toSend[0]
		r.toSend = r.toSend[1:]
		p.mutex.Unlock()
		if _, err := r.input.Write(line); err != nil {
			return // it has ended, which the reader sees too
		}
	}
}

func (p *program) read(r *run) {
	var fault error
	for fault == nil {
		line, err := readLine(r.output)
		if err == errLongLine {
			fault = err
		} else if err != nil {
			break
		} else {
			fault = p.answer(r, line)
		}
	}
	if fault != nil {
		r.process.Process.Kill()
	}
	p.end(r, r.process.Wait(), fault)
}

var errLongLine = errors.New("a line that is too long for a document")

// readLine reads up to a line feed, but not without end.
func readLine(from *bufio.Reader) ([]byte, error) {
	var line []byte
	for {
		piece, err := from.ReadSlice('\n')
		if line = append(line, piece...); err != bufio.ErrBufferFull {
			return line, err
		}
		if len(line) > longest {
			return nil, errLongLine
		}
	}
}

// answer hands a document to its job, or says what is wrong with it.
func (p *program) answer(r *run, line []byte) error {
	answer, number, err := answerFrom(line)
	if err != nil {
		return err
	}
	p.mutex.Lock()
	defer p.mutex.Unlock()
	if len(p.waiting) == 0 || p.waiting[0].number != number {
		return fmt.Errorf("a document for job %d, which is not the next one", number)
	}
	p.take(outcome{answer: answer})
	r.answered++
	return nil
}

// take ends the wait of the oldest job.
func (p *program) take(result outcome) {
	p.waiting[0].outcome <- result
	p.waiting[0] = nil
	p.waiting = p.waiting[1:]
}

// end starts another run for the work that is left, or gives it up.
func (p *program) end(r *run, ended, fault error) {
	said := make([]byte, 4096)
	length, _ := r.said.ReadAt(said, 0)
	r.said.Close()
	p.mutex.Lock()
	defer p.mutex.Unlock()
	r.finished, p.run = true, nil
	defer p.changed.Broadcast()
	if len(p.waiting) == 0 {
		return
	}
	var status *exec.ExitError
	byItself := ended == nil || errors.As(ended, &status) && status.Exited()
	var why error
	switch oldest := p.waiting[0]; {
	case fault != nil:
		why = &ToolError{fmt.Sprintf("%s wrote %v", p.command[0], fault)}
	case byItself && r.answered == 0:
		// Another run would end the same way: it is another program, or its options are refused.
		why = &ToolError{fmt.Sprintf("%s ended with exit status %d: %s", p.command[0], r.process.ProcessState.ExitCode(),
			strings.ToValidUTF8(strings.TrimSpace(string(said[:length])), "?"))}
	default:
		if oldest.ends++; oldest.ends == tries {
			p.take(outcome{answer: refusal(70, fmt.Sprintf("%s ended %d times (%v) before it answered", p.command[0], tries,
				r.process.ProcessState), "nothing is known about this one, so do not rely on it")})
		}
		if len(p.waiting) > 0 {
			why = p.start()
		}
	}
	for why != nil && len(p.waiting) > 0 {
		p.take(outcome{err: why})
	}
}
