# Quick start: `make example` builds sorvane and runs it on the example data;
# `make test` builds it and runs the whole test suite; `make test-asan` and
# `make test-tsan` run the suite again in builds checked by AddressSanitizer with
# UndefinedBehaviorSanitizer and LeakSanitizer, and by ThreadSanitizer. All install the
# missing Debian packages first when run as root. By hand: `make fuzz FUZZ_SECONDS=600`.

BUILD ?= build
# make install PREFIX=... DESTDIR=...: where the programs and the manual page go.
PREFIX ?= /usr/local
JOBS ?= $(shell nproc 2>/dev/null || echo 2)
EXAMPLE_OUT ?= $(BUILD)/example

# Debian packages the build and the tests need: the compiler and libraries, the tools of
# the interoperability, workflow and read tests (bcftools, tabix, samtools, plink2, snakemake) and
# matplotlib for sorvane-plot.
PACKAGES = g++ cmake make pkg-config libboost-program-options-dev libboost-iostreams-dev libboost-dev \
           zlib1g-dev libbz2-dev libhts-dev libgtest-dev bcftools tabix samtools plink2 snakemake python3-matplotlib
# The fuzzing targets need clang with its runtime libraries.
FUZZ_PACKAGES = clang libclang-rt-14-dev
FUZZ_SECONDS ?= 60

# The thread checker runs the tests that work on more than one thread: the work queue, the
# stages and graph building on one and two threads, and the command lines run with two.
TSAN_TESTS = work_queue|Thread|cli_convert.FromGraphs|cli_phase.EveryFormatPhasesAndKeepsGenotypes|cli_pir.AssembleExampleReads|cli_pir.MutationInclusion|cli_interop.PipelineVcf
# The address checker skips the long accuracy runs on whole cohorts, whose code the shorter
# runs of the suite go through.
ASAN_SKIP = cli_phase_accuracy.DuohmmFamilies|cli_phase_accuracy.ModelsAndSelections|cli_workflow.ChunkedExampleLigates

# A checked build runs slower: more time for each test.
CHECKED = -DCMAKE_BUILD_TYPE=RelWithDebInfo -DSORVANE_TEST_TIMEOUT=900

.PHONY: all deps fuzz-deps build install uninstall test test-asan test-tsan fuzz example clean

all: build

deps fuzz-deps:
	@missing=""; for p in $(if $(filter fuzz-deps,$@),$(FUZZ_PACKAGES),$(PACKAGES)); do \
		dpkg-query -W -f='$${Status}' $$p 2>/dev/null | grep -q "install ok installed" || missing="$$missing $$p"; \
	done; \
	if [ -n "$$missing" ]; then \
		if [ "$$(id -u)" -eq 0 ]; then \
			echo "Installing:$$missing"; \
			apt-get update -qq && DEBIAN_FRONTEND=noninteractive apt-get install -y -qq --no-install-recommends $$missing; \
		else \
			echo "Missing packages:$$missing (run as root, or install them with apt-get)"; exit 1; \
		fi; \
	fi

build: deps
	cmake -S . -B $(BUILD) -DCMAKE_BUILD_TYPE=Release
	cmake --build $(BUILD) -j $(JOBS)

# Installs sorvane, readmine, sorvane-plot and the manual page sorvane.1 under PREFIX (bin/,
# share/man/man1/), below DESTDIR if given; uninstall removes what the last install put.
install: build
	DESTDIR="$(DESTDIR)" cmake --install $(BUILD) --prefix "$(PREFIX)"

uninstall:
	@test -f $(BUILD)/install_manifest.txt || { echo "Nothing installed from $(BUILD)"; exit 1; }
	sed 's|^|$(DESTDIR)|' $(BUILD)/install_manifest.txt | xargs rm -fv
	rm -f $(BUILD)/install_manifest.txt

test: build
	cd $(BUILD) && ctest --output-on-failure -j $(JOBS)

test-asan: deps
	cmake -S . -B $(BUILD)-asan $(CHECKED) -DSORVANE_SANITIZE=address
	cmake --build $(BUILD)-asan -j $(JOBS)
	cd $(BUILD)-asan && ASAN_OPTIONS=detect_leaks=1:abort_on_error=0 UBSAN_OPTIONS=print_stacktrace=1 \
		ctest --output-on-failure -j $(JOBS) -E "$(ASAN_SKIP)"

test-tsan: deps
	cmake -S . -B $(BUILD)-tsan $(CHECKED) -DSORVANE_SANITIZE=thread
	cmake --build $(BUILD)-tsan -j $(JOBS)
	cd $(BUILD)-tsan && TSAN_OPTIONS=halt_on_error=1 ctest --output-on-failure -j $(JOBS) -R "$(TSAN_TESTS)"

fuzz: deps fuzz-deps
	cmake -S . -B $(BUILD)-fuzz -DCMAKE_CXX_COMPILER=clang++ -DCMAKE_BUILD_TYPE=RelWithDebInfo \
		-DSORVANE_FUZZ=ON -DSORVANE_TESTS=OFF
	cmake --build $(BUILD)-fuzz -j $(JOBS)
	fuzz/run.sh $(FUZZ_SECONDS)

example: build
	@mkdir -p $(EXAMPLE_OUT)
	$(BUILD)/sorvane --input-vcf example/cohort.vcf.gz --input-map example/genetic_map.txt \
		--thread 2 --seed 1 --output-max $(EXAMPLE_OUT)/phased --output-graph $(EXAMPLE_OUT)/phased.graph \
		-L $(EXAMPLE_OUT)/phased
	$(BUILD)/sorvane -convert --input-haps $(EXAMPLE_OUT)/phased --output-vcf $(EXAMPLE_OUT)/phased.vcf.gz \
		-L $(EXAMPLE_OUT)/convert
	@echo "Phased haplotypes: $(EXAMPLE_OUT)/phased.haps and $(EXAMPLE_OUT)/phased.sample, as VCF: $(EXAMPLE_OUT)/phased.vcf.gz"
	@echo "Haplotype graphs: $(EXAMPLE_OUT)/phased.graph; log: $(EXAMPLE_OUT)/phased.log"
	$(BUILD)/sorvane -check --input-ped example/cohort --input-map example/genetic_map.txt \
		--input-ref example/reference.haplotypes example/reference.legend example/reference.samples \
		-L $(EXAMPLE_OUT)/check
	$(BUILD)/sorvane-plot $(EXAMPLE_OUT)/check

clean:
	rm -rf $(BUILD) $(BUILD)-asan $(BUILD)-tsan $(BUILD)-fuzz
