// P/Invoke declarations for the board API (include/xdsp/board.h and the
// board_*.h headers it includes) that the example uses.
//
// DllImport("xdsp_board") finds xdsp_board.dll on Windows; under Mono on Linux
// the dllmap in upload.exe.config points it at libxdsp.so.3, which carries the
// board API beside the flat one. Every export is __cdecl, on 32-bit Windows
// too, so each declaration says so. Texts are UTF-8 at the boundary: a path
// goes in as LPUTF8Str, texts come back as bytes and are decoded here, since
// CharSet.Ansi means the system code page on Windows.
using System;
using System.Runtime.InteropServices;
using System.Text;

static class Native
{
    const string Library = "xdsp_board";
    public const ushort BootFileNumber = 300;
    public const int TextBytes = 256;

    [StructLayout(LayoutKind.Sequential)]
    public struct BootLoaderIdentity
    {
        [MarshalAs(UnmanagedType.ByValArray, SizeConst = TextBytes)]
        public byte[] version;
        [MarshalAs(UnmanagedType.ByValArray, SizeConst = TextBytes)]
        public byte[] product;
        [MarshalAs(UnmanagedType.ByValArray, SizeConst = TextBytes)]
        public byte[] dsp;
        public uint memorySize;
    }

    // The name and the data are pointers into buffers pinned for the call.
    [StructLayout(LayoutKind.Sequential)]
    public struct UploadRecord
    {
        public int fileIndex;
        public short type;
        public uint startAddress;
        public uint endAddress;
        public IntPtr name;
        public IntPtr data;
        public UIntPtr length;
    }

    [UnmanagedFunctionPointer(CallingConvention.Cdecl)]
    public delegate int UploadProgress(UIntPtr sent, UIntPtr total, IntPtr user);

    [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
    public static extern IntPtr xdsp_status_text(int status);

    [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
    public static extern IntPtr xdsp_version();

    [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
    public static extern int xdsp_board_open([MarshalAs(UnmanagedType.LPUTF8Str)] string path,
                                             IntPtr options, out BoardHandle board);

    [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
    public static extern int xdsp_board_close(IntPtr board);

    [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
    public static extern int xdsp_board_product_name(BoardHandle board, [Out] byte[] name,
                                                     UIntPtr capacity);

    [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
    public static extern int xdsp_board_last_message(BoardHandle board, [Out] byte[] text,
                                                     UIntPtr capacity);

    [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
    public static extern int xdsp_board_boot_loader_init(BoardHandle board, ushort select,
                                                         ushort busyMask,
                                                         out BootLoaderIdentity identity);

    [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
    public static extern int xdsp_board_upload(BoardHandle board, ref UploadRecord upload,
                                               UploadProgress progress, IntPtr user);

    [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
    public static extern int xdsp_board_file_checksum(BoardHandle board, uint number,
                                                      out ushort checksum);

    [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
    public static extern ushort xdsp_checksum(byte[] data, UIntPtr length);

    [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
    public static extern int xdsp_board_run(BoardHandle board);

    // A zero-terminated UTF-8 text the library owns.
    public static string Text(IntPtr text)
    {
        if (text == IntPtr.Zero)
            return "";
        int length = 0;
        while (Marshal.ReadByte(text, length) != 0)
            ++length;
        var bytes = new byte[length];
        Marshal.Copy(text, bytes, 0, length);
        return Encoding.UTF8.GetString(bytes);
    }

    // A zero-terminated UTF-8 text the library wrote into a buffer of ours.
    public static string Text(byte[] buffer)
    {
        int end = Array.IndexOf(buffer, (byte)0);
        return Encoding.UTF8.GetString(buffer, 0, end < 0 ? buffer.Length : end);
    }
}
