package lib

import (
	"fmt"
	"os"
	"reflect"
	"sort"
	"strings"
	"testing"
)

// The structures of Go have the sizes and offsets that the C compiler gives those of qex.h, whose table the tests' runner
// makes (QEX_TEST_LAYOUT).
func TestStructuresHaveTheLayoutOfTheHeader(t *testing.T) {
	table, err := os.ReadFile(os.Getenv("QEX_TEST_LAYOUT"))
	if err != nil {
		t.Skip("QEX_TEST_LAYOUT names no table; tests/bindings makes it")
	}
	var lines []string
	for name, structure := range map[string]any{
		"QEX_U64": cU64{}, "QEX_TSQ_DATA_EX": cTsqDataEx{}, "QEX_TSQ_DATA": cTsqData{}, "QEX_TSR_STATUS": cTsrStatus{},
		"QEX_TSTINFO_EX": cTstInfoEx{}, "QEX_TSTINFO": cTstInfo{}, "QEX_TACINFO_EX": cTacInfoEx{}, "QEX_TACINFO": cTacInfo{},
		"QEX_TIMING_METRICS_EX": cTimingMetricsEx{}, "QEX_TIMING_METRICS": cTimingMetrics{},
		"QEX_TIMING_POLICY": cTimingPolicy{},
	} {
		kind := reflect.TypeOf(structure)
		lines = append(lines, fmt.Sprintf("%s %d", name, kind.Size()))
		for i := 0; i < kind.NumField(); i++ {
			field := kind.Field(i)
			lines = append(lines, fmt.Sprintf("%s.%s %d %d", name, field.Name, field.Offset, field.Type.Size()))
		}
	}
	for code, row := range codes {
		lines = append(lines, fmt.Sprintf("%s %d", row.name, code))
	}
	for name, transport := range map[string]Transport{
		"RAW": TransportRaw, "SOCKET": TransportSocket, "HTTP": TransportHttp, "RESERVED": TransportReserved,
	} {
		lines = append(lines, fmt.Sprintf("QEX_TRANSPORT_%s %d", name, transport))
	}
	expected := strings.Split(strings.TrimSpace(string(table)), "\n")
	sort.Strings(expected)
	sort.Strings(lines)
	if !reflect.DeepEqual(lines, expected) {
		t.Errorf("in Go:\n%s\nin C:\n%s", strings.Join(lines, "\n"), strings.Join(expected, "\n"))
	}
}
