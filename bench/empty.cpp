// The smallest C++ program.
int main() {}
