// Run-time class information, checked arrays, named mutexes and the application object.
#include <framework.h>

#include <thread>

#include "support/scratch.h"

namespace {

class Shape : public CObject {
    DECLARE_DYNAMIC(Shape)
};
class Square : public Shape {
    DECLARE_DYNAMIC(Square)
};
class Plain : public Square {};
IMPLEMENT_DYNAMIC(Shape, CObject)
IMPLEMENT_DYNAMIC(Square, Shape)

}  // namespace

TEST(CObject, KnowsItsClassAndItsBases) {
    const Square square;
    const Plain plain;
    const CObject& object = square;
    EXPECT_STREQ(object.GetRuntimeClass()->m_lpszClassName, "Square");
    EXPECT_EQ(plain.GetRuntimeClass(), RUNTIME_CLASS(Square));
    EXPECT_TRUE(object.IsKindOf(RUNTIME_CLASS(Square)));
    EXPECT_TRUE(object.IsKindOf(RUNTIME_CLASS(Shape)));
    EXPECT_TRUE(object.IsKindOf(RUNTIME_CLASS(CObject)));
    EXPECT_FALSE(object.IsKindOf(RUNTIME_CLASS(CDWordArray)));
    EXPECT_FALSE(Shape().IsKindOf(RUNTIME_CLASS(Square)));
}

TEST(CDWordArray, ChecksEveryIndex) {
    CDWordArray numbers;
    EXPECT_EQ(numbers.GetData(), nullptr);
    EXPECT_THROW((void)numbers[0], CInvalidArgException);

    EXPECT_EQ(numbers.Add(0xFFFFFFFF), 0);
    numbers.SetSize(3);
    numbers.SetAt(2, 7);
    EXPECT_EQ(numbers[0], 0xFFFFFFFF);
    EXPECT_EQ(numbers[1], 0u);
    EXPECT_EQ(numbers.GetData()[2], 7u);
    for (const int index : {-1, 3}) {
        EXPECT_THROW((void)numbers[index], CInvalidArgException);
        EXPECT_THROW((void)numbers.GetAt(index), CInvalidArgException);
        EXPECT_THROW(numbers.SetAt(index, 1), CInvalidArgException);
    }
    EXPECT_THROW(numbers.SetSize(-1), CInvalidArgException);
    numbers.SetSize(1);
    EXPECT_THROW((void)numbers[1], CInvalidArgException);
}

class Mutexes : public ScratchTest {
  protected:
    static constexpr LPCWSTR kName = TEXT("Local\\Qantivo.Tests.Mutex");
};

TEST_F(Mutexes, OneLockAtATimeHoldsAName) {
    CMutex first(FALSE, kName);
    CMutex second(FALSE, kName);
    {
        CSingleLock lock(&first, true);
        EXPECT_TRUE(lock.IsLocked());
        EXPECT_TRUE(lock.Lock());
        std::thread([&] { EXPECT_FALSE(CSingleLock(&second).Lock(0)); }).join();
        EXPECT_TRUE(lock.Unlock());
        EXPECT_FALSE(lock.IsLocked());
        std::thread([&] { EXPECT_TRUE(CSingleLock(&second).Lock(0)); }).join();
        EXPECT_TRUE(lock.Lock(0));
    }
    std::thread([&] { EXPECT_TRUE(CSingleLock(&second).Lock(0)); }).join();
    EXPECT_FALSE(first.Unlock());
}

CHILD_PROGRAM(EndsAsAnOwner) {
    CMutex mutex(FALSE, TEXT("Local\\Qantivo.Tests.Mutex"));
    ExitProcess(mutex.Lock(0) ? 0 : 1);
}

TEST_F(Mutexes, TakeWhatADyingOwnerLeft) {
    CMutex left(FALSE, kName);
    EXPECT_EQ(RunChild("EndsAsAnOwner").exitCode, 0u);
    EXPECT_TRUE(left.Lock(0));
    EXPECT_TRUE(left.Unlock());
    EXPECT_FALSE(left.Unlock());
}

TEST_F(Mutexes, CannotBeLockedWhenTheSystemRefusesTheName) {
    CMutex mutex(FALSE, TEXT("Local\\no\\folder"));
    EXPECT_FALSE(mutex.Lock(0));
    EXPECT_FALSE(mutex.Unlock());
    EXPECT_FALSE(CSingleLock(&mutex, true).IsLocked());
}

namespace {

class Application : public CWinApp {
  public:
    explicit Application(BOOL result) : m_result(result) { m_pszAppName = TEXT("Under test"); }
    BOOL InitInstance() override {
        PostQuitMessage(5);
        return m_result;
    }

  private:
    const BOOL m_result;
};

class Overrunning : public CWinApp {
  public:
    BOOL InitInstance() override { return static_cast<BOOL>(CDWordArray()[0]); }
};

}  // namespace

class Applications : public ScratchTest {};

TEST_F(Applications, InitInstanceDoesNotGiveTheExitCode) {
    MSG message;
    for (const BOOL result : {0, 1}) {
        Application application(result);
        EXPECT_EQ(AfxGetApp(), &application);
        EXPECT_EQ(AfxWinMain(), 0);
        EXPECT_EQ(GetMessageW(&message, nullptr, 0, 0), 0) << "the loop is not to run without a main window";
    }
    Application application(1);
    application.m_pMainWnd = reinterpret_cast<CWnd*>(&application);
    EXPECT_EQ(AfxWinMain(), 5);
}

TEST_F(Applications, GiveMessageBoxesTheirCaption) {
    const Application application(0);
    const BoxAnswers answers({IDNO, IDOK});
    EXPECT_EQ(AfxMessageBox(TEXT("A question"), MB_YESNO | MB_ICONQUESTION), IDNO);
    EXPECT_EQ(AfxMessageBox(TEXT("A message")), IDOK);
    const std::vector<ShownBox> shown = answers.Shown();
    ASSERT_EQ(shown.size(), 2u);
    EXPECT_EQ(shown[0].caption, TEXT("Under test"));
    EXPECT_EQ(shown[0].text, TEXT("A question"));
    EXPECT_EQ(shown[1].text, TEXT("A message"));
}

CHILD_PROGRAM(ReadsBeyondAnArray) {
    const Overrunning application;
    (void)AfxWinMain();
    MakeFile(kScratch + TEXT("\\survived"));
    return 0;
}

TEST_F(Applications, EndWithAnExceptionThatNothingCatches) {
    EXPECT_NE(RunChild("ReadsBeyondAnArray").exitCode, 0u);
    EXPECT_FALSE(Exists(kScratch + TEXT("\\survived")));
}
