// Settings of jemalloc, which the Linux programs are linked with. It looks up this variable when it
// starts.
//
// The results of a scan are hundreds of thousands of small objects. Where a page fault is
// expensive, as in a virtual machine, the first use of that memory in small pages takes longer than
// the work on it: with huge pages a regrouping and a save take half the time.
//
// All threads share one arena, and each has a cache in front of it. A second arena, created when a
// thread first allocates, would need megabytes of address space, and a thread that cannot get them
// crashes.
extern "C" {
extern const char* malloc_conf;
const char* malloc_conf = "thp:always,narenas:1";
}
