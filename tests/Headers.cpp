// Owns the headers that the tests take ready compiled.
int main() {}
