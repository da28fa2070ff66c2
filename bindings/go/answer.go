package qex

import (
	"bytes"
	"encoding/json"
	"errors"
	"time"
)

// CheckResult is one check. The verdict is pass, fail, skip or note; By names the reader that made it: libqex, strict, both.
type CheckResult struct {
	Name    string `json:"name"`
	Verdict string `json:"verdict"`
	Text    string `json:"text"`
	By      string `json:"by"`
}

// Answer is what was found about one token.
//
// Exit is the exit status of `qex verify` and tells failures apart; Error and Hint say what failed and what to do next.
type Answer struct {
	Exit             int
	Error            string
	Hint             string
	Indication       string // by ETSI EN 319 102-1
	SubIndication    string
	AuthorityChecked bool // whether the trust options covered the authority
	Checks           []CheckResult
	Time             time.Time       // in the token, zero without a readable one; it counts only if the answer passed
	Document         json.RawMessage // the whole answer, as docs/qex.schema.json describes it

	passed bool // so that no empty Answer reads as a good one
}

// Passed says whether every check passes.
func (a Answer) Passed() bool { return a.passed }

// Failures are the checks that fail.
func (a Answer) Failures() []CheckResult {
	var failed []CheckResult
	for _, check := range a.Checks {
		if check.Verdict == "fail" {
			failed = append(failed, check)
		}
	}
	return failed
}

// document holds the members of a document of the program that are read here.
type document struct {
	ID               *uint64       `json:"id"`
	Schema           int           `json:"schema"`
	Exit             *int          `json:"exit"`
	Error            string        `json:"error"`
	Hint             string        `json:"hint"`
	Indication       string        `json:"indication"`
	SubIndication    string        `json:"sub_indication"`
	AuthorityChecked bool          `json:"authority_checked"`
	Checks           []CheckResult `json:"checks"`
	Token            struct {
		Time string `json:"time"`
	} `json:"token"`
}

// answerFrom reads a document, and says for which job it is.
func answerFrom(line []byte) (Answer, uint64, error) {
	var read document
	if json.Unmarshal(line, &read) != nil || read.ID == nil || read.Exit == nil {
		return Answer{}, 0, errors.New("a line that is no document of qex")
	}
	if read.Schema != 1 {
		return Answer{}, 0, errors.New("documents of another schema than 1")
	}
	answer := Answer{
		Exit: *read.Exit, Error: read.Error, Hint: read.Hint, Indication: read.Indication,
		SubIndication: read.SubIndication, AuthorityChecked: read.AuthorityChecked, Checks: read.Checks,
		Document: bytes.TrimSpace(line), passed: *read.Exit == 0,
	}
	if at, err := time.Parse(time.RFC3339Nano, read.Token.Time); err == nil {
		answer.Time = at
	}
	return answer, *read.ID, nil
}

// refusal is the answer to a job that no program answers.
func refusal(exit int, problem, hint string) Answer {
	written, err := json.Marshal(map[string]any{"schema": 1, "command": "verify", "subject": "", "exit": exit, "code": 0,
		"asn1_error": 0, "error": problem, "hint": hint})
	if err != nil {
		panic(err) // texts and numbers can be written
	}
	return Answer{Exit: exit, Error: problem, Hint: hint, Document: written}
}
