# Quick start: `make example` builds sorvane and runs it on the example data;
# `make test` builds it and runs the whole test suite. Both install the missing
# Debian packages first when run as root.

BUILD ?= build
JOBS ?= $(shell nproc 2>/dev/null || echo 2)
EXAMPLE_OUT ?= $(BUILD)/example

# Debian packages the build and the tests need.
PACKAGES = g++ cmake make libboost-program-options-dev libboost-iostreams-dev libboost-dev \
           zlib1g-dev libbz2-dev libgtest-dev

.PHONY: all deps build test example clean

all: build

deps:
	@missing=""; for p in $(PACKAGES); do \
		dpkg-query -W -f='$${Status}' $$p 2>/dev/null | grep -q "install ok installed" || missing="$$missing $$p"; \
	done; \
	if [ -n "$$missing" ]; then \
		if [ "$$(id -u)" -eq 0 ]; then \
			echo "Installing:$$missing"; \
			apt-get update -qq && DEBIAN_FRONTEND=noninteractive apt-get install -y -qq $$missing; \
		else \
			echo "Missing packages:$$missing (run as root, or install them with apt-get)"; exit 1; \
		fi; \
	fi

build: deps
	cmake -S . -B $(BUILD) -DCMAKE_BUILD_TYPE=Release
	cmake --build $(BUILD) -j $(JOBS)

test: build
	cd $(BUILD) && ctest --output-on-failure -j $(JOBS)

example: build
	@mkdir -p $(EXAMPLE_OUT)
	$(BUILD)/sorvane -check --input-vcf example/cohort.vcf.gz \
		--input-ref example/reference.haplotypes example/reference.legend example/reference.samples \
		--input-map example/genetic_map.txt --output-log $(EXAMPLE_OUT)/check
	@echo "Phasing is not built yet: the example data were checked instead (sorvane -check)."
	@echo "Log and check reports: $(EXAMPLE_OUT)/check.log, $(EXAMPLE_OUT)/check.ind.mm, $(EXAMPLE_OUT)/check.snp.mm, $(EXAMPLE_OUT)/check.ind.me, $(EXAMPLE_OUT)/check.snp.me"

clean:
	rm -rf $(BUILD)
