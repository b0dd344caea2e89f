// One open board of the board API, its handle and the exception its calls
// throw.
using System;
using System.Runtime.InteropServices;
using System.Text;

// The board's handle. The marshaller holds a reference to it for every call it
// is passed to, so ReleaseHandle, and with it xdsp_board_close, runs only once
// no call on the board is under way: a Dispose while another thread is inside a
// call returns at once, and the board is closed when that call returns.
sealed class BoardHandle : SafeHandle
{
    BoardHandle() : base(IntPtr.Zero, true) {}

    public override bool IsInvalid
    {
        get { return handle == IntPtr.Zero; }
    }

    protected override bool ReleaseHandle()
    {
        return Native.xdsp_board_close(handle) == 0;
    }
}

// A call that returned a status other than XDSP_STATUS_OK.
sealed class BoardException : Exception
{
    public int Status { get; private set; }

    public BoardException(string call, int status)
        : base(string.Format("{0}: {1} ({2})", call, Native.Text(Native.xdsp_status_text(status)),
                             status))
    {
        Status = status;
    }

    public static void Check(string call, int status)
    {
        if (status != 0)
            throw new BoardException(call, status);
    }
}

sealed class Board : IDisposable
{
    const int NameBytes = 192;
    readonly BoardHandle handle;

    public string Path { get; private set; }

    public Board(string path)
    {
        BoardHandle opened;
        int status = Native.xdsp_board_open(path, IntPtr.Zero, out opened);
        if (status != 0) {
            opened.Dispose();
            throw new BoardException("open " + path, status);
        }
        handle = opened;
        Path = path;
    }

    public void Dispose()
    {
        handle.Dispose();
    }

    public string ProductName()
    {
        var name = new byte[NameBytes];
        BoardException.Check("product name",
                             Native.xdsp_board_product_name(handle, name, (UIntPtr)name.Length));
        return Native.Text(name);
    }

    // What the board would have shown in a message box last; "" for nothing.
    public string LastMessage()
    {
        var text = new byte[Native.TextBytes];
        Native.xdsp_board_last_message(handle, text, (UIntPtr)text.Length);
        return Native.Text(text);
    }

    public Native.BootLoaderIdentity InitBootLoader(ushort select, ushort busyMask)
    {
        Native.BootLoaderIdentity identity;
        BoardException.Check("boot loader init",
                             Native.xdsp_board_boot_loader_init(handle, select, busyMask,
                                                                out identity));
        return identity;
    }

    // Progress gets the bytes on the board so far and the file's length;
    // returning false cancels the upload before its next packet.
    public void Upload(int fileIndex, uint start, uint end, string name, byte[] data,
                       Func<long, long, bool> progress)
    {
        byte[] utf8Name = Encoding.UTF8.GetBytes(name + "\0");
        GCHandle pinnedName = GCHandle.Alloc(utf8Name, GCHandleType.Pinned);
        GCHandle pinnedData = GCHandle.Alloc(data, GCHandleType.Pinned);
        try {
            var upload = new Native.UploadRecord {
                fileIndex = fileIndex, type = 0, startAddress = start, endAddress = end,
                name = pinnedName.AddrOfPinnedObject(), data = pinnedData.AddrOfPinnedObject(),
                length = (UIntPtr)data.Length
            };
            // Held in a variable until the call returns: the library keeps only
            // the function pointer.
            Native.UploadProgress callback = (sent, total, user) =>
                progress((long)sent, (long)total) ? 0 : 1;
            int status = Native.xdsp_board_upload(handle, ref upload, callback, IntPtr.Zero);
            GC.KeepAlive(callback);
            BoardException.Check("upload", status);
        } finally {
            pinnedData.Free();
            pinnedName.Free();
        }
    }

    // The board's checksum of a file. An unanswered request reads as 0, so a 0
    // is asked for again.
    public ushort FileChecksum(uint number)
    {
        ushort checksum = 0;
        for (int attempt = 0; attempt < 3 && checksum == 0; ++attempt)
            BoardException.Check("file checksum",
                                 Native.xdsp_board_file_checksum(handle, number, out checksum));
        return checksum;
    }

    public void Run()
    {
        BoardException.Check("run", Native.xdsp_board_run(handle));
    }
}
