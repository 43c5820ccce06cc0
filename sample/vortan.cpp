#include <cstdio>

// Stands for the product's main program. What the installation steps read of it is its version
// resource.
int main() {
  std::puts("Vortan " VORTAN_VERSION " (sample)");
  return 0;
}
