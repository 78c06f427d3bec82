"""Bodies of uploads, as browsers write them."""

BOUNDARY = "----endurance4c1f"


def multipart(files):
    """The type and the body for pairs of name and content."""
    parts = [f'--{BOUNDARY}\r\nContent-Disposition: form-data; name="file"; filename="{name}"\r\n'
             "Content-Type: application/octet-stream\r\n\r\n".encode() + content + b"\r\n"
             for name, content in files]
    return f"multipart/form-data; boundary={BOUNDARY}", b"".join(parts) + f"--{BOUNDARY}--\r\n".encode()
