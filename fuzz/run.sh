#!/usr/bin/env bash
# Runs each fuzzing target for the given number of seconds (default 60) from the committed
# seeds, keeping what it learns in build-fuzz/corpus and what it finds in build-fuzz/findings.
# Usage: fuzz/run.sh [SECONDS] [TARGET...]
set -uo pipefail
cd "$(dirname "$0")/.."
seconds=${1:-60}
shift || true
targets=${*:-vcf gen ped bed panel haps graph map lists pir}
status=0
for t in $targets; do
	mkdir -p build-fuzz/corpus/$t build-fuzz/findings/$t build-fuzz/logs
	ASAN_OPTIONS=detect_leaks=0 build-fuzz/fuzz/fuzz_$t -max_total_time="$seconds" -timeout=10 -rss_limit_mb=2048 \
		-close_fd_mask=1 -detect_leaks=0 -print_final_stats=1 \
		-artifact_prefix=build-fuzz/findings/$t/ build-fuzz/corpus/$t fuzz/corpus/$t \
		> build-fuzz/logs/$t.log 2>&1
	rc=$?
	runs=$(grep -o 'stat::number_of_executed_units: *[0-9]*' build-fuzz/logs/$t.log | grep -o "[0-9]*$" | tail -1)
	units=$(ls build-fuzz/corpus/$t | wc -l)
	findings=$(ls build-fuzz/findings/$t | wc -l)
	echo "fuzz_$t: ${runs:-?} executions in ${seconds} s, corpus ${units}, findings ${findings} (log build-fuzz/logs/$t.log)"
	[ $rc -eq 0 ] || status=1
done
exit $status
