// P/Invoke declarations for the xdsp functions the example uses.
//
// DllImport("xdsp") finds xdsp.dll on Windows and libxdsp.so on Linux (through
// LD_LIBRARY_PATH, or the dllmap in upload.exe.config). Every export is
// __stdcall on 32-bit Windows, which is DllImport's default there
// (CallingConvention.Winapi); elsewhere there is one convention. Texts are
// UTF-16 at the boundary on both systems, which CharSet.Unicode gives.
using System;
using System.Runtime.InteropServices;
using System.Text;

static class Native
{
    const string Library = "xdsp";
    public const int DevicePathChars = 260;
    public const int FriendlyNameChars = 64;

    [StructLayout(LayoutKind.Sequential, CharSet = CharSet.Unicode)]
    public struct DeviceRecord
    {
        public uint matchNumber;
        public uint hidIndex;
        [MarshalAs(UnmanagedType.ByValTStr, SizeConst = DevicePathChars)]
        public string devicePath;
    }

    [UnmanagedFunctionPointer(CallingConvention.Winapi)]
    public delegate int ProgressCallback(int percent, uint context);

    [DllImport(Library, EntryPoint = "EnumUSBHIDDevices")]
    public static extern uint EnumUSBHIDDevices(ushort vendorId, ushort productId,
                                                [In, Out] DeviceRecord[] records,
                                                uint recordCount);

    [DllImport(Library, EntryPoint = "GetMatchingHID_COMDevice", CharSet = CharSet.Unicode)]
    public static extern int GetMatchingHID_COMDevice(string hidPath, StringBuilder portPath,
                                                      StringBuilder friendlyName);

    [DllImport(Library, EntryPoint = "InitializeHIDUSBPacketPath", CharSet = CharSet.Unicode,
               SetLastError = true)]
    public static extern int InitializeHIDUSBPacketPath(string devicePath);

    [DllImport(Library, EntryPoint = "DestroyHIDUSBPacket", SetLastError = true)]
    public static extern int DestroyHIDUSBPacket();

    [DllImport(Library, EntryPoint = "GetProductNameStruct")]
    public static extern void GetProductNameStruct([Out] byte[] record);

    [DllImport(Library, EntryPoint = "BootLoader_Init")]
    public static extern int BootLoader_Init(ushort select, ushort busyMask);

    [DllImport(Library, EntryPoint = "BootLoader_GetVersion")]
    public static extern IntPtr BootLoader_GetVersion();

    [DllImport(Library, EntryPoint = "BootLoader_GetProduct")]
    public static extern IntPtr BootLoader_GetProduct();

    [DllImport(Library, EntryPoint = "BootLoader_GetDSP")]
    public static extern IntPtr BootLoader_GetDSP();

    [DllImport(Library, EntryPoint = "BootLoader_GetMemory")]
    public static extern uint BootLoader_GetMemory();

    [DllImport(Library, EntryPoint = "BootLoader_MaxFiles")]
    static extern uint BootLoader_MaxFiles();

    // The same export bound by its ordinal, a form Windows resolves through
    // GetProcAddress. Mono on Linux looks "#232" up as a symbol name and fails,
    // so MaxFiles() uses it on Windows only.
    [DllImport(Library, EntryPoint = "#232")]
    static extern uint BootLoader_MaxFilesByOrdinal();

    [DllImport(Library, EntryPoint = "BootLoader_Send", CharSet = CharSet.Unicode,
               SetLastError = true)]
    public static extern int BootLoader_Send(int fileIndex, short type, uint startAddress,
                                             uint endAddress, string name, byte[] data,
                                             uint length, int showErrors,
                                             ProgressCallback callback, uint context);

    [DllImport(Library, EntryPoint = "BootLoader_GetFileChecksum")]
    public static extern ushort BootLoader_GetFileChecksum(int fileIndex);

    [DllImport(Library, EntryPoint = "BootLoader_Boot")]
    public static extern int BootLoader_Boot();

    [DllImport(Library, EntryPoint = "xdsp_last_error")]
    static extern uint xdsp_last_error();

    static bool OnWindows
    {
        get { return Environment.OSVersion.Platform == PlatformID.Win32NT; }
    }

    public static uint MaxFiles()
    {
        return OnWindows ? BootLoader_MaxFilesByOrdinal() : BootLoader_MaxFiles();
    }

    // The calling thread's last-error code: the system's on Windows (kept by
    // SetLastError = true), the library's own elsewhere.
    public static uint LastError()
    {
        return OnWindows ? (uint)Marshal.GetLastWin32Error() : xdsp_last_error();
    }

    public static string Text(IntPtr text)
    {
        return text == IntPtr.Zero ? "" : Marshal.PtrToStringUni(text);
    }
}
