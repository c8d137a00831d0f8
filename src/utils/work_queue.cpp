#include "utils/work_queue.h"
#include "utils/lfile.h"
#include "utils/sutils.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <ctime>

static double since(const std::chrono::steady_clock::time_point & t) {
	return std::chrono::duration < double > (std::chrono::steady_clock::now() - t).count();
}

// Seconds of processor time of the calling thread: unlike the wall clock, they leave out
// the time the thread was not running, which on a busy machine would blur the work of an item.
static double threadSeconds() {
	timespec t;
	clock_gettime(CLOCK_THREAD_CPUTIME_ID, &t);
	return t.tv_sec + 1e-9 * t.tv_nsec;
}

work_queue::work_queue(int n) : batch_seconds(0.0), busy_seconds(0.0), serial_seconds(0.0), batch_count(0), work_seconds(0.0), item_bins(40 * bins_per_doubling, 0), items_timed(0), generation(0), running(0), stopping(false), next_item(0), end_item(0), finished(0) {
	for (int w = 1 ; w < n ; w ++) threads.emplace_back(&work_queue::work, this, w);
}

work_queue::~work_queue() {
	{
		std::lock_guard < std::mutex > lock (mutex);
		stopping = true;
	}
	wake.notify_all();
	for (std::thread & t : threads) t.join();
}

int work_queue::size() const {
	return threads.size() + 1;
}

// Waking a sleeping thread takes tens of microseconds, as long as the serial step between
// two batches of small units: a thread waiting for the next call or for the workers to end
// one first polls for a short while before it sleeps.
static const std::chrono::microseconds poll_time (200);

static void poll(const std::function < bool () > & done) {
	const auto until = std::chrono::steady_clock::now() + poll_time;
	while (!done() && std::chrono::steady_clock::now() < until) std::this_thread::yield();
}

// A worker sleeps until a call numbered after the last one it ran, or the end.
void work_queue::work(int worker) {
	unsigned long seen = 0;
	for (;;) {
		poll([&] { return stopping || generation != seen; });
		{
			std::unique_lock < std::mutex > lock (mutex);
			wake.wait(lock, [&] { return stopping || generation != seen; });
			if (stopping) return;
			seen = generation;
		}
		try {
			body(worker);
		} catch (...) {
			fail();
		}
		std::lock_guard < std::mutex > lock (mutex);
		if (-- running == 0) idle.notify_one();
	}
}

void work_queue::fail() {
	std::lock_guard < std::mutex > lock (mutex);
	if (!failure) failure = std::current_exception();
}

void work_queue::together(const std::function < void (int worker) > & f) {
	if (threads.empty()) {
		f(0);
		return;
	}
	{
		std::lock_guard < std::mutex > lock (mutex);
		body = f;
		failure = nullptr;
		running = threads.size();
		generation ++;
	}
	wake.notify_all();
	try {
		f(0);
	} catch (...) {
		fail();
	}
	std::exception_ptr e;
	poll([&] { return running == 0; });
	{
		std::unique_lock < std::mutex > lock (mutex);
		idle.wait(lock, [&] { return running == 0; });
		body = nullptr;
		std::swap(e, failure);
	}
	if (e) std::rethrow_exception(e);
}

void work_queue::claim(int worker, const item_task & task, const progress_report & progress, bool timed) {
	std::unique_lock < std::mutex > lock (mutex);
	while (next_item < end_item && !failure) {
		const int item = next_item ++;
		lock.unlock();
		const auto begin = std::chrono::steady_clock::now();
		const double processor = timed ? threadSeconds() : 0.0;
		task(item, worker);
		const double seconds = timed ? since(begin) : 0.0, work = timed ? threadSeconds() - processor : 0.0;
		lock.lock();
		if (timed) {
			const int bin = work > bin_floor ? (int)(bins_per_doubling * std::log2(work / bin_floor)) : 0;
			item_bins[std::min(bin, (int)item_bins.size() - 1)] ++;
			items_timed ++;
			work_seconds += work;
			busy_seconds += seconds;
		}
		finished ++;
		if (progress) progress(finished);
	}
}

void work_queue::run(int n, const item_task & task, const progress_report & progress) {
	next_item = 0;
	end_item = n;
	finished = 0;
	together([&](int worker) { claim(worker, task, progress, false); });
}

void work_queue::drain(const std::function < bool (int worker) > & task, const progress_report & progress) {
	finished = 0;
	together([&](int worker) {
		while (task(worker)) {
			std::lock_guard < std::mutex > lock (mutex);
			finished ++;
			if (progress) progress(finished);
			if (failure) return;
		}
	});
}

void work_queue::batches(int n, int batch, const batch_step & open, const item_task & task, const batch_step & close) {
	batch = std::max(batch, 1);
	for (int first = 0 ; first < n ; first += batch) {
		const int last = std::min(n, first + batch);
		const auto begin = std::chrono::steady_clock::now();
		if (open) open(first, last);
		const double opening = since(begin);
		next_item = first;
		end_item = last;
		finished = 0;
		together([&](int worker) { claim(worker, task, nullptr, true); });
		const auto work_end = std::chrono::steady_clock::now();
		if (close) close(first, last);
		serial_seconds += opening + since(work_end);
		batch_seconds += size() * since(begin);
		batch_count ++;
	}
}

// The geometric middle of the bin where the share q of the items is reached.
double work_queue::itemQuantile(double q) const {
	const double target = q * items_timed;
	long below = 0;
	unsigned int k = 0;
	while (k + 1 < item_bins.size() && (below + item_bins[k] < target || item_bins[k] == 0)) below += item_bins[k ++];
	return bin_floor * std::exp2((k + 0.5) / bins_per_doubling);
}

work_queue::progress_report work_queue::counter(const std::string & text, int total) {
	const std::string end = "/" + sutils::int2str(total) + "]";
	return [text, end](int done) { LOG.printC(text + sutils::int2str(done) + end); };
}
