// The headers that every test begins with are compiled for this program.
int main() { return 0; }
