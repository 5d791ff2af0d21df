// Another maker's library: names of ours, with other signatures, sizes and results.  It counts its
// calls.
static int calls;

class CFFT
{
public:
    CFFT();
    int FFTInitAlloc(int order);
    int own[1000];
};
CFFT::CFFT() : own{++calls} {}
int CFFT::FFTInitAlloc(int order)
{
    return ++calls, -order;
}

extern "C" int resample_process()
{
    return ++calls, 42;
}
extern "C" int Cadd(int a, int b)
{
    return ++calls, a * b;
}
extern "C" int theirs_calls()
{
    return calls;
}
extern "C" bool theirs_inside()
{
    return resample_process() == 42 && Cadd(2, 3) == 6 && CFFT().FFTInitAlloc(5) == -5;
}
