/* The 64-bit programs a simulated run starts (the shell behind system(), the module helpers)
 * inherit LD_PRELOAD. They find this empty library under the same path and load it silently;
 * there is nothing to simulate in them. */
typedef int sarvik_sim_empty_unit;
