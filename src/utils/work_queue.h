#ifndef _WORK_QUEUE_H
#define _WORK_QUEUE_H

#include <atomic>
#include <condition_variable>
#include <exception>
#include <functional>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

// The worker threads of a run, made once by the mode and handed to every threaded step.
// A queue of `size()` workers: the calling thread is worker 0 and takes part in the work,
// the others wait between calls. With one worker everything runs on the calling thread, in
// order, so that a run on one thread draws its random numbers as a plain loop would.
//
// Work is handed out in three forms, all returning once every piece is done:
//   run      items 0 .. n - 1, each claimed by the next free worker;
//   drain    a task called by every worker until it returns false (records of a file);
//   batches  items 0 .. n - 1 in consecutive batches, each prepared before and closed after
//            on the calling thread while the other workers wait: a barrier between batches.
// After each finished item or task, `progress` gets the count finished so far, under the
// queue's lock, so counts come in increasing order. An exception out of a task stops the
// claiming of further items and is thrown again on the calling thread.
class work_queue {
public:
	typedef std::function < void (int item, int worker) > item_task;
	typedef std::function < void (int finished) > progress_report;
	typedef std::function < void (int first, int last) > batch_step;

	explicit work_queue(int threads);
	~work_queue();
	work_queue(const work_queue &) = delete;
	work_queue & operator=(const work_queue &) = delete;

	int size() const;

	void run(int n, const item_task & task, const progress_report & progress = nullptr);
	void drain(const std::function < bool (int worker) > & task, const progress_report & progress = nullptr);
	// Items first .. last - 1 form a batch; `open` and `close` may be empty.
	void batches(int n, int batch, const batch_step & open, const item_task & task, const batch_step & close);

	// The progress line of a stage: `text` (as "\rSampling haplotypes [") + finished + "/" + total + "]".
	static progress_report counter(const std::string & text, int total);

	// Over all calls of batches: thread seconds that the batches lasted (workers times wall,
	// from the opening of each batch to its closing), seconds spent in tasks, and seconds
	// the calling thread spent opening and closing batches while the others waited. The
	// workers waited for busy_seconds less than batch_seconds.
	double batch_seconds;
	double busy_seconds;
	double serial_seconds;
	long batch_count;
	// The processor seconds of the items of batches, in all and counted on a log scale: bin k
	// holds the times from bin_floor * 2 ^ (k / bins_per_doubling) on, the first also those
	// below.
	static const int bins_per_doubling = 8;
	static constexpr double bin_floor = 1e-6;
	double work_seconds;
	std::vector < long > item_bins;
	long items_timed;
	// The time below which a share q of the timed items fell, to the width of a bin.
	double itemQuantile(double q) const;

private:
	std::vector < std::thread > threads;
	std::mutex mutex;
	std::condition_variable wake;
	std::condition_variable idle;
	// The body every worker runs in the current call, numbered so that a worker runs each
	// call once; workers still inside it; the first exception of the call.
	std::function < void (int worker) > body;
	// Written under the mutex; atomic so that a waiting thread can poll them without it.
	std::atomic < unsigned long > generation;
	std::atomic < int > running;
	std::atomic < bool > stopping;
	std::exception_ptr failure;
	// Items of the current call of run or batches: the next to claim, the end, those finished.
	int next_item;
	int end_item;
	int finished;

	void work(int worker);
	// Runs `body` on every worker, the calling thread included, and waits for all of them.
	void together(const std::function < void (int worker) > & body);
	// Claims items until none is left, timing each into the batch figures when `timed`.
	void claim(int worker, const item_task & task, const progress_report & progress, bool timed);
	void fail();
};

#endif
