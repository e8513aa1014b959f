// Does nothing: a package tool that costs no more than its start, and, linked with Qt, the smallest Qt program.
int main() {}
