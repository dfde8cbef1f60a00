// Settings of jemalloc, which the Linux programs are linked with. It looks this name up when it
// starts.
//
// A scan's results are hundreds of thousands of small objects. Where a page fault is dear, as in a
// virtual machine, touching that memory in small pages takes longer than the work on it: huge pages
// halve the time of a regroup and of a save.
//
// One arena serves all threads, which have caches of their own before it. Another one, made when a
// thread first asks for memory, takes megabytes, and a thread for which there is none crashes.
extern "C" {
extern const char* malloc_conf;
const char* malloc_conf = "thp:always,narenas:1";
}
