#include "utils/output_set.h"

#include <algorithm>
#include <cstdio>

output_set OUTPUTS;

output_set::output_set() : deferred(false) {
}

// Runs at exit, so a run ended by an error leaves no temporary behind.
output_set::~output_set() {
	discard();
}

void output_set::add(const std::string & temporary, const std::string & name) {
	files.push_back({ temporary, name, false });
}

bool output_set::done(const std::string & temporary, bool now) {
	auto it = std::find_if(files.begin(), files.end(), [&](const entry & e) { return e.temporary == temporary; });
	if (it == files.end()) return true;
	if (deferred && !now) {
		it->complete = true;
		return true;
	}
	bool ok = std::rename(it->temporary.c_str(), it->name.c_str()) == 0;
	if (!ok) std::remove(it->temporary.c_str());
	files.erase(it);
	return ok;
}

void output_set::drop(const std::string & temporary) {
	auto it = std::find_if(files.begin(), files.end(), [&](const entry & e) { return e.temporary == temporary; });
	if (it == files.end()) return;
	std::remove(it->temporary.c_str());
	files.erase(it);
}

bool output_set::commit(std::string & failed) {
	std::vector < entry > open;
	bool ok = true;
	for (const entry & e : files) {
		if (!e.complete) open.push_back(e);
		else if (ok && std::rename(e.temporary.c_str(), e.name.c_str()) != 0) {
			ok = false;
			failed = e.name;
		}
	}
	files.swap(open);
	if (!ok) discard();
	return ok;
}

void output_set::discard() {
	for (const entry & e : files) std::remove(e.temporary.c_str());
	files.clear();
}
