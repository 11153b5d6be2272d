cmake_minimum_required(VERSION 3.25)
# Fails unless the DLL's export table names each exported member below (demangled).
execute_process(COMMAND ${OBJDUMP} -p ${DLL} OUTPUT_VARIABLE table RESULT_VARIABLE code)
if(NOT code EQUAL 0)
  message(FATAL_ERROR "${OBJDUMP} -p failed: ${code}")
endif()
string(REPLACE "x86_64-w64-mingw32-objdump" "x86_64-w64-mingw32-c++filt" cxxfilt ${OBJDUMP})
file(WRITE ${CMAKE_CURRENT_BINARY_DIR}/dll-exports.txt "${table}")
execute_process(COMMAND ${cxxfilt} INPUT_FILE ${CMAKE_CURRENT_BINARY_DIR}/dll-exports.txt
                OUTPUT_VARIABLE demangled)
set(expected
  "Tavro_KVO_Util::Crc32::mCrc32Table"
  "Tavro_KVO_Util::Crc32::Crc32()"
  "Tavro_KVO_Util::Crc32::Crc32(unsigned long)"
  "Tavro_KVO_Util::Crc32::ProcessBuffer(unsigned char const*, unsigned int)"
  "Tavro_KVO_Util::Crc32::GetResult() const"
  "Tavro_KVO_Util::Crc32::~Crc32()"
  "Tavro_KVO_Util::CRC16::CRC16()"
  "Tavro_KVO_Util::CRC16::Digest(unsigned char const*, unsigned long)"
  "Tavro_KVO_Util::CRC16::Final()"
  "Tavro_KVO_Util::OsLockableObject::~OsLockableObject()"
  "vtable for Tavro_KVO_Util::OsLockableObject"
  "Tavro_KVO_Util::OsCriticalSection::OsCriticalSection()"
  "Tavro_KVO_Util::OsCriticalSection::~OsCriticalSection()"
  "Tavro_KVO_Util::OsCriticalSection::Lock(bool)"
  "Tavro_KVO_Util::OsCriticalSection::Unlock()"
  "Tavro_KVO_Util::OsAutoLock::OsAutoLock(Tavro_KVO_Util::OsLockableObject*)"
  "Tavro_KVO_Util::OsAutoLock::~OsAutoLock()"
  "Tavro_KVO_Util::Config::GetInstance(bool, bool)"
  "Tavro_KVO_Util::Config::mThisInstance"
  "Tavro_KVO_Util::Config::SetParameter("
  "Tavro_KVO_Util::Logger::GetInstance()"
  "Tavro_KVO_Util::Logger::LogFmt(wchar_t const*, int, wchar_t const*, int, wchar_t const*, ...)"
  "Tavro_KVO_Util::Logger::Log(unsigned short const*, int, unsigned short const*, unsigned short const*, int)"
  "Tavro_KVO_Util::Logger::LogLong(unsigned short const*, int, unsigned short const*, long, unsigned short const*, int)"
  "Tavro_KVO_Util::ButtonActionInfoList::ButtonActionInfoList()"
  "Tavro_KVO_Util::ButtonActionInfoList::~ButtonActionInfoList()"
  "Tavro_KVO_Util::ButtonActionInfoList::Add(Tavro_KVO_Util::ButtonActionInfo const&)"
  "Tavro_KVO_Util::ButtonActionInfoList::Remove(HWND__*, mvButtonType)"
  "Tavro_KVO_Util::ButtonActionInfoList::Get(HWND__*, mvButtonType, Tavro_KVO_Util::ButtonActionInfo&) const"
  "Tavro_KVO_Util::ButtonActionInfoList::Get(HWND__*, std::vector<Tavro_KVO_Util::ButtonActionInfo"
  "Tavro_KVO_Util::ButtonActionInfoList::GetReport(wchar_t*, unsigned long)"
  "Tavro_KVO_Util::ButtonActionInfoList::GetCount() const"
  "Tavro_KVO_Util::ButtonActionInfoPidList::ButtonActionInfoPidList()"
  "Tavro_KVO_Util::ButtonActionInfoPidList::~ButtonActionInfoPidList()"
  "Tavro_KVO_Util::ButtonActionInfoPidList::Add(Tavro_KVO_Util::ButtonActionInfoPid const&)"
  "Tavro_KVO_Util::ButtonActionInfoPidList::Remove(unsigned long, mvButtonType)"
  "Tavro_KVO_Util::ButtonActionInfoPidList::Get(unsigned long, mvButtonType, Tavro_KVO_Util::ButtonActionInfoPid&) const"
  "Tavro_KVO_Util::ButtonActionInfoPidList::Get(unsigned long, std::vector<Tavro_KVO_Util::ButtonActionInfoPid"
  "Tavro_KVO_Util::ButtonActionInfoPidList::Get(std::vector<Tavro_KVO_Util::ButtonActionInfoPid"
  "Tavro_KVO_Util::ButtonActionInfoPidList::GetReport(wchar_t*, unsigned long)"
  "Tavro_KVO_Util::ButtonActionInfoPidList::GetCount() const"
  "Tavro_KVO_Util::KeyPressSimulator::DoSimulation()"
  "Tavro_KVO_Util::KeyPressSimulator::ValidateInputString(std::__cxx11::basic_string<wchar_t"
  "Tavro_KVO_Util::KeyPressSimulator::KeyPressSimulator(std::__cxx11::basic_string<wchar_t"
  "Tavro_KVO_Util::KeyPressSimulator::~KeyPressSimulator()"
  "Tavro_KVO_Util::ImageUtil::ImageUtil()"
  "Tavro_KVO_Util::ImageUtil::~ImageUtil()"
  "Tavro_KVO_Util::ImageUtil::operator=(Tavro_KVO_Util::ImageUtil const&)"
  "Tavro_KVO_Util::ImageUtil::SetImageFormat(unsigned char*, unsigned long, unsigned char*&, unsigned long*, mvImageFormat)"
  "Tavro_KVO_Util::ImageUtil::SetImageDimensions(unsigned char*, unsigned long, unsigned char*&, unsigned long*, tagSIZE)"
  "Tavro_KVO_Util::ImageUtil::CopyToClipBoard(unsigned char*, unsigned long)"
  "Tavro_KVO_Util::ImageUtil::GetEncoderClsid(wchar_t const*, _GUID*)"
  "Tavro_KVO_Util::SoundEvent::SoundEvent()"
  "Tavro_KVO_Util::SoundEvent::~SoundEvent()"
  "Tavro_KVO_Util::SoundEvent::operator=(Tavro_KVO_Util::SoundEvent const&)"
  "vtable for Tavro_KVO_Util::SoundEvent"
  "Tavro_KVO_Util::SoundEvent::Register()"
  "Tavro_KVO_Util::SoundEvent::Unregister()"
  "Tavro_KVO_Util::SoundEvent::Play(Tavro_KVO_Util::SoundEventType, bool)"
  "Tavro_KVO_Util::SoundEvent::GetSoundEventEntry(Tavro_KVO_Util::SoundEventType)"
  "Tavro_KVO_Util::SoundEvent::GetSchemeKeyName(wchar_t const*, std::__cxx11::basic_string<wchar_t, std::char_traits<wchar_t>, std::allocator<wchar_t> >&)"
  "Tavro_KVO_Util::SoundEvent::CreateKey(std::__cxx11::basic_string<wchar_t, std::char_traits<wchar_t>, std::allocator<wchar_t> > const&, std::__cxx11::basic_string<wchar_t, std::char_traits<wchar_t>, std::allocator<wchar_t> > const&)"
  "Tavro_KVO_Util::SoundEvent::DeleteKeyRecursive(std::__cxx11::basic_string<wchar_t, std::char_traits<wchar_t>, std::allocator<wchar_t> > const&)"
  # The dialog layout class is outside the namespace; its private members are exported with it.
  "DlgResize::DlgResize()"
  "DlgResize::DlgResize(DlgResize const&)"
  "DlgResize::operator=(DlgResize const&)"
  "DlgResize::~DlgResize()"
  "DlgResize::OnDlgInit(HWND__*, HWND__*)"
  "DlgResize::OnDlgSize()"
  "DlgResize::LockWindowDim(HWND__*, bool, bool, bool, bool)"
  "DlgResize::GetClientPos(HWND__*, HWND__*, tagRECT&)"
  "DlgResize::EnumChildProc(HWND__*, long long)"
  "DlgResize::GetTabResizeInfo(HWND__*, HWND__*, HWND__*, DlgResizeInfo&)"
  "DlgResize::GetDlgResizeInfo(HWND__*, HWND__*, DlgResizeInfo&)"
  "DlgResize::SizeWindow(DlgResizeInfo&, long, long, double, double)")
# The plain function keeps its undecorated name for callers that cannot use the classes.
if(NOT table MATCHES "[ \t]MV_LogFmt\r?\n")
  message(SEND_ERROR "MV_LogFmt is not exported under its plain name")
endif()
foreach(name IN LISTS expected)
  string(FIND "${demangled}" "${name}" at)
  if(at EQUAL -1)
    message(SEND_ERROR "not exported: ${name}")
  endif()
endforeach()
# The checksum members that are inline in the headers now, by mangled name: programs built against
# earlier headers import exactly these, the complete-object constructor and destructor (C1, D1)
# in particular, which the demangled names above do not tell from the base-object ones.
set(kept_inline
  _ZN14Tavro_KVO_Util5Crc32C1Ev
  _ZN14Tavro_KVO_Util5Crc32C1Em
  _ZN14Tavro_KVO_Util5Crc32D1Ev
  _ZNK14Tavro_KVO_Util5Crc329GetResultEv
  _ZN14Tavro_KVO_Util5CRC16C1Ev
  _ZN14Tavro_KVO_Util5CRC165FinalEv)
foreach(name IN LISTS kept_inline)
  if(NOT table MATCHES "[ \t]${name}\r?\n")
    message(SEND_ERROR "not exported: ${name}")
  endif()
endforeach()
