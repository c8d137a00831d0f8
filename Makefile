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
	$(BUILD)/sorvane --input-vcf example/cohort.vcf.gz --input-map example/genetic_map.txt \
		--thread 2 --seed 1 --output-max $(EXAMPLE_OUT)/phased --output-graph $(EXAMPLE_OUT)/phased.graph \
		-L $(EXAMPLE_OUT)/phased
	@echo "Phased haplotypes: $(EXAMPLE_OUT)/phased.haps and $(EXAMPLE_OUT)/phased.sample"
	@echo "Haplotype graphs: $(EXAMPLE_OUT)/phased.graph; log: $(EXAMPLE_OUT)/phased.log"

clean:
	rm -rf $(BUILD)
